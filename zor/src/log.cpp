#include "log.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

#include "error.h"
#include "files.h"
#include "render/json.h"

namespace zor {

namespace {

std::string time_now() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
  gmtime_r(&now, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string host_name() {
  char name[HOST_NAME_MAX + 1] = "";
  gethostname(name, sizeof name - 1);
  return name;
}

// One line, without its end.
std::string line_of(const std::string& command, const std::string& root,
                    const std::vector<ProductName>& products, const Environment& environment) {
  Json paths = Json::array();
  for (const ProductName& product : products)
    paths.push_back(json_text(product.path()));
  const Json line = {{"version", 1},
                     {"time", time_now()},
                     {"host", json_text(host_name())},
                     {"user", json_text(environment.find("USER").value_or(""))},
                     {"uid", getuid()},
                     {"command", command},
                     {"root", json_text(root)},
                     {"products", paths}};
  return line.dump();
}

// A pipe without a reader and a device that does not answer are left alone at once.
void append_to_file(const std::string& path, const std::string& line) {
  const int fd =
      open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  if (fd < 0) return;
  // In one piece, so that lines of several users do not mix.
  const std::string text = line + '\n';
  if (write(fd, text.data(), text.size()) < 0) errno = 0;
  close(fd);
}

// As syslog(3) does, which waits where the log is full.
void send_to_syslog(const Environment& environment, const std::string& line) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return;
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path(environment.find("ZOR_SYSLOG").value_or("/dev/log"));
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const std::string text = "<14>zor: " + line;  // of a user's program, for information
  sendto(fd, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
         reinterpret_cast<const sockaddr*>(&address), sizeof address);
  close(fd);
}

[[noreturn]] void become_logger(const std::vector<std::string>& program, int input) {
  setsid();
  dup2(input, STDIN_FILENO);
  const int null = open("/dev/null", O_WRONLY);
  for (const int fd : {STDOUT_FILENO, STDERR_FILENO})
    dup2(null, fd);
  std::vector<char*> arguments;
  arguments.reserve(program.size() + 1);
  for (const std::string& word : program)
    arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

// The program is the child of a child that ends at once, so nobody waits for it.
void hand_to_program(const std::vector<std::string>& program, const std::string& line) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return;
  const pid_t child = fork();
  if (child == 0) {
    if (fork() == 0) become_logger(program, ends[0]);
    _exit(0);
  }
  close(ends[0]);
  if (child > 0) {
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    const std::string text = line + '\n';
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    // The program may be gone already.
    struct sigaction before;
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &before);
    if (write(ends[1], text.data(), text.size()) < 0) errno = 0;
    sigaction(SIGPIPE, &before, nullptr);
  }
  close(ends[1]);
}

// Where the news are noted that a user has seen; empty if there is no place for it.
std::string seen_path(const Environment& environment) {
  if (const auto set = environment.find("XDG_STATE_HOME"); set && set->starts_with('/'))
    return std::string(*set) + "/zor/news";
  if (const auto home = environment.find("HOME"); home && !home->empty())
    return std::string(*home) + "/.local/state/zor/news";
  return {};
}

}  // namespace

bool is_logging(const Config& config) {
  return config.log.syslog || !config.log.file.empty() || !config.log.program.empty();
}

void log_load(const Config& config, const std::string& command, const std::string& root,
              const std::vector<ProductName>& products, const Environment& environment) {
  const Log& log = config.log;
  if (!is_logging(config)) return;
  const std::string line = line_of(command, root, products, environment);
  if (log.syslog) send_to_syslog(environment, line);
  if (!log.file.empty()) append_to_file(log.file, line);
  if (!log.program.empty()) hand_to_program(log.program, line);
}

std::string unseen_news(const Config& config, const Environment& environment) {
  std::string lines;
  if (config.news.empty()) return lines;
  const std::string path = seen_path(environment);
  try {
    const std::string before = path.empty() ? "" : content_if_there(path).value_or("");
    std::string seen = before;
    const std::string day = today(environment);
    for (const News& news : config.news) {
      const bool is_time = day >= news.from && (news.until.empty() || day <= news.until);
      if (!is_time || ('\n' + seen).find('\n' + news.id + '\n') != std::string::npos) continue;
      lines += fmt::format("zor: {}\n", news.text);
      seen += news.id + '\n';
    }
    if (seen != before && !path.empty()) write_file(path, seen);
  } catch (const Error&) {
    // They come again, which is better than no load at all.
  }
  return lines;
}

}  // namespace zor
