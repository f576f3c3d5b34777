// The functions of the dialects, for the table of them.
#ifndef ZOR_FORMATS_ROWS_H
#define ZOR_FORMATS_ROWS_H

#include <string>

#include "environment.h"

namespace zor {

// For what takes any bytes, and any name that a process can hold.
std::string refuse_for_bytes(const Change& change);
// The same for what knows Unicode texts only.
std::string refuse_for_text(const Change& change);

std::string refuse_for_sh(const Change& change);
void write_sh(std::string* text, const Change& change);
std::string refuse_for_bash(const Change& change);
void write_bash(std::string* text, const Change& change);
std::string refuse_for_zsh(const Change& change);
std::string refuse_for_ksh(const Change& change);
// This writes for zsh as well.
void write_ksh(std::string* text, const Change& change);

std::string refuse_for_fish(const Change& change);
void write_fish(std::string* text, const Change& change);
std::string refuse_for_csh(const Change& change);
void write_csh(std::string* text, const Change& change);
std::string refuse_for_elvish(const Change& change);
void write_elvish(std::string* text, const Change& change);
std::string refuse_for_xonsh(const Change& change);
void write_xonsh(std::string* text, const Change& change);
std::string refuse_for_nushell(const Change& change);
void write_nushell(std::string* text, const Change& change);
std::string refuse_for_powershell(const Change& change);
void write_powershell(std::string* text, const Change& change);
std::string refuse_for_cmd(const Change& change);
void write_cmd(std::string* text, const Change& change);
std::string refuse_for_rc(const Change& change);
void write_rc(std::string* text, const Change& change);

void write_python(std::string* text, const Change& change);
void write_perl(std::string* text, const Change& change);
void write_ruby(std::string* text, const Change& change);
void write_lua(std::string* text, const Change& change);
void write_tcl(std::string* text, const Change& change);
void write_r(std::string* text, const Change& change);

std::string refuse_for_make(const Change& change);
void write_make(std::string* text, const Change& change);
std::string refuse_for_cmake(const Change& change);
void write_cmake(std::string* text, const Change& change);

void write_json(std::string* text, const Change& change);
std::string refuse_for_dotenv(const Change& change);
void write_dotenv(std::string* text, const Change& change);
std::string refuse_for_systemd(const Change& change);
void write_systemd(std::string* text, const Change& change);
std::string refuse_for_docker(const Change& change);
void write_docker(std::string* text, const Change& change);
std::string refuse_for_github(const Change& change);
void write_github(std::string* text, const Change& change);
void write_env0(std::string* text, const Change& change);

}  // namespace zor

#endif
