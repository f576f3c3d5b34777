// Helpers of the tests of the data-file readers: dumps of the records as text, so that a test
// compares a whole file's outcome at once, and two checks that every format must pass.
#ifndef READ_SUPPORT_H
#define READ_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "caller.h"
#include "model_support.h"
#include "partlist.h"
#include "process.h"
#include "prodinfo.h"
#include "recipe.h"
#include "settings.h"
#include "vqnexpat.h"

inline std::string Dump(const FwVector& strings) {
  std::string out;
  for (int i = 0; i < FwVectorLength(&strings); ++i)
    out += (i ? "," : "") +
           Str(static_cast<FwTextString>(FwVectorGetElement(const_cast<FwVector*>(&strings), i)));
  return "{" + out + "}";
}

inline std::string Dump(WH_VAR* var) {
  std::string out;
  for (; var != nullptr; var = var->next)
    out += (out.empty() ? "" : " ") + Str(var->n) + "=" + Str(var->v);
  return out;
}

// "[host: n=v n=v][...]"
inline std::string Dump(WH_PATTERN* pattern) {
  std::string out;
  for (; pattern != nullptr; pattern = pattern->next)
    out += "[" + Str(pattern->host) + ": " + Dump(pattern->vars) + "]";
  return out;
}

inline std::string Dump(WH_DESCRIPTIONS* descriptions) {
  std::string out;
  FwVector* descs = &descriptions->descs;
  for (int i = 0; i < FwVectorLength(descs); ++i) {
    auto* desc = static_cast<WH_DESC*>(FwVectorGetElement(descs, i));
    out += "<" + Str(desc->lang) + "|" + Str(desc->text) + ">";
  }
  return out;
}

inline std::string Dump(WH_VARIETY* variety) {
  std::string out = "variety " + Str(variety->name) + " chosen=" + std::to_string(variety->chosen) +
                    " " + Dump(variety->descriptions) + " vars(" + Dump(variety->vars) + ")";
  for (WH_SEG* seg = variety->segs; seg != nullptr; seg = seg->next)
    out += " seg(" + Str(seg->host) + "," + std::to_string(seg->here) + ")";
  return out + "\n";
}

inline std::string Dump(WH_PRODUCT_INFO* info) {
  std::string out = Fields(info->prodname) + " nice=" + Str(info->nicename) + " '" +
                    Str(info->description) + "' visible=" + std::to_string(info->visible) + " " +
                    Dump(info->descriptions) + "\n";
  FwVector* seq = &info->varieties->seq;
  for (int i = 0; i < FwVectorLength(seq); ++i)
    out += Dump(static_cast<WH_VARIETY*>(FwVectorGetElement(seq, i)));
  return out;
}

inline std::string Dump(WH_PARTLIST* list) {
  std::string out;
  for (WH_PARTSPEC* spec = list->partspecs; spec != nullptr; spec = spec->next) {
    out += "spec " + Dump(spec->pattern) + "\n";
    for (WH_PART* part = spec->parts; part != nullptr; part = part->next) {
      if (part->type == part_file) {
        WH_FILE_PART* file = part->u.file;
        out += "  file " + Str(file->file) + "|" + Str(file->builtas) + "|" + Str(file->packas) +
               " " + Dump(file->media) + "\n";
      } else {
        WH_PRODUCT_QUERY* query = part->u.product;
        out += "  product " + Fields(query->prodname) +
               " optional=" + std::to_string(query->optional) + " " + Dump(query->pattern) + " " +
               Dump(query->media) + "\n";
      }
    }
  }
  return out;
}

inline std::string Dump(WH_ENV_OP* op) {
  if (op->type == wh_env_insert) {
    WH_ENV_INSERT* ins = op->u.ins;
    return "  insert '" + Str(op->name) + "' '" + Str(ins->value) +
           "' sep=" + std::to_string(ins->sep) + " before" + Dump(ins->before) + " after" +
           Dump(ins->after) + "\n";
  }
  WH_ENV_REMOVE* rem = op->u.rem;
  return std::string(op->type == wh_env_remove ? "  remove '" : "  delete '") + Str(op->name) +
         "' sep=" + std::to_string(rem->sep) + " " + Dump(rem->values) + "\n";
}

inline std::string Dump(WH_ENV_SETTINGS* settings) {
  std::string out = "settings\n";
  for (int i = 0; i < FwVectorLength(&settings->groups); ++i) {
    auto* group = static_cast<WH_ENV_GROUP*>(FwVectorGetElement(&settings->groups, i));
    out += "group " + Dump(group->pattern) + "\n";
    for (int j = 0; j < FwVectorLength(&group->ops); ++j)
      out += Dump(static_cast<WH_ENV_OP*>(FwVectorGetElement(&group->ops, j)));
  }
  return out;
}

inline std::string Dump(WH_DATA* data) {
  return "data('" + Str(data->contents) + "'," + Str(data->file) + "," + Str(data->creator) + "," +
         Str(data->type) + "," + Str(data->mode) + "," + Str(data->eol) + ")";
}

inline std::string DumpArgs(const FwVector& args) {
  std::string out;
  for (int i = 0; i < FwVectorLength(&args); ++i) {
    auto* arg = static_cast<WH_RUN_ARG*>(FwVectorGetElement(const_cast<FwVector*>(&args), i));
    out += arg->type == wh_arg_data ? " " + Dump(arg->u.data) : " '" + Str(arg->u.str) + "'";
  }
  return out;
}

inline std::string Join(std::initializer_list<FwTextString> texts) {
  std::string out;
  const char* separator = "";
  for (FwTextString text : texts) {
    out += separator + Str(text);
    separator = "|";
  }
  return out;
}

inline std::string Dump(WH_COMMAND* command) {
  switch (command->type) {
    case wh_cmd: {
      WH_CMD* r = command->u.cmd;
      return "cmd " + Join({r->command, r->cwd, r->feedback});
    }
    case wh_make: {
      WH_CMD* r = command->u.make;
      return "make " + Join({r->command, r->cwd, r->feedback});
    }
    case wh_run: {
      WH_RUN* r = command->u.run;
      return "run " + Join({r->program, r->cwd, r->feedback}) + " wait=" + std::to_string(r->wait) +
             DumpArgs(r->args);
    }
    case wh_copy: {
      WH_COPY* r = command->u.copy;
      return "copy " + Join({r->from, r->to, r->onlyifabsent});
    }
    case wh_append:
      return "append " + Dump(command->u.append);
    case wh_delete: {
      WH_DELETE* r = command->u.del;
      return "delete " + Join({r->path, r->ifempty});
    }
    case wh_create:
      return "create " + Dump(command->u.create);
    case wh_dir: {
      WH_DIR* r = command->u.dir;
      return "dir " + Join({r->path, r->mode});
    }
    case wh_setenv: {
      WH_SETENV* r = command->u.setenv;
      return "setenv " + Join({r->op, r->name, r->value, r->context});
    }
    case wh_setreg: {
      WH_SETREG* r = command->u.setreg;
      return "setreg " + Join({r->op, r->hive, r->key, r->value, r->data, r->type});
    }
    case wh_shortcut: {
      FwFileShortcut* r = command->u.shortcut;
      return "shortcut " + Join({r->op, r->name, r->program, r->args, r->icon, r->folder,
                                 r->workdir, r->defaulticon});
    }
    case wh_java: {
      WH_JAVA* r = command->u.java;
      return "java " + Join({r->name, r->entry, r->location}) + DumpArgs(r->args);
    }
    case wh_message: {
      WH_MESSAGE* r = command->u.message;
      return "message " + Join({r->title, r->text});
    }
  }
  return "?";
}

inline std::string Dump(WH_RECIPE* recipe) {
  std::string out = "recipe\n";
  for (int i = 0; i < FwVectorLength(&recipe->steps); ++i) {
    auto* step = static_cast<WH_STEP*>(FwVectorGetElement(&recipe->steps, i));
    out += "step " + Str(step->ui) + " " + Dump(step->pattern) + "\n";
    for (int j = 0; j < FwVectorLength(&step->commands); ++j)
      out += "  " + Dump(static_cast<WH_COMMAND*>(FwVectorGetElement(&step->commands, j))) + "\n";
  }
  return out;
}

// Writes a file anew. Some file systems wait for the disk when a file that has content is cut to
// nothing and written again, so the old one is removed first.
inline std::string Rewrite(const TemporaryTree& tree, const std::string& name,
                           const std::string& content) {
  std::remove((tree / name).c_str());
  return tree.Write(name, content);
}

// What a reader made of a file: the dump of its record, or "(null)"; behind it, if an error is set,
// a line with its message.
using Reading = std::function<std::string(const std::string& content, WH_XML_PARSE_FLAGS flags)>;

template <class RECORD>
std::string Outcome(RECORD* record, FwErrorState* err) {
  std::string out = record == nullptr ? "(null)\n" : Dump(record);
  std::string message = Reports::Read(err);
  return message.empty() ? out : out + message + "\n";
}

// A state of a format's machine. head leads to it; tail, with nothing before it, ends the document
// by the state's end tag, and end says whether that is accepted. accepted has the tags that may
// start here, each with all that then completes the document.
struct StateRow {
  const char* state;
  std::string head;
  std::string tail;
  bool end;
  std::vector<std::pair<std::string, std::string>> accepted;
};

// Tries every tag of the alphabet, and the end tag, in every state. fault is what the reader tells
// of a fault of structure.
inline void CheckStates(const std::vector<StateRow>& rows, const std::vector<std::string>& tags,
                        const Reading& read, const std::string& fault,
                        Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (const StateRow& row : rows) {
    auto outcome = [&](const std::string& rest) { return read(row.head + rest, 0); };
    std::string good = row.tail;
    if (row.end)
      EXPECT_NE(fault, outcome(row.tail)) << row.state << " refuses its end tag";
    else
      EXPECT_EQ(fault, outcome(row.tail)) << row.state << " accepts its end tag";
    for (const auto& [tag, rest] : row.accepted) {
      std::string result = outcome(rest);
      EXPECT_EQ(std::string::npos, result.find("***")) << row.state << " " << tag << ": " << result;
      if (!row.end && !row.head.empty()) good = rest;
    }
    for (const std::string& tag : tags) {
      bool accepted = false;
      for (const auto& entry : row.accepted)
        accepted = accepted || entry.first == tag;
      if (accepted) continue;
      EXPECT_EQ(fault, outcome("<" + tag + "></" + tag + ">" + good))
          << row.state << " accepts " << tag;
    }
  }
}

// Pads the document so that each of its bytes in turn is the first of the second block that is
// read.
inline void CheckBlockEdges(const std::string& body, const Reading& read,
                            Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  const std::string expected = read(body, 0);
  EXPECT_EQ(std::string::npos, expected.find("(null)\n***")) << expected;
  for (std::size_t cut = 0; cut <= body.size() && cut < kXmlBlockSize - 7; ++cut) {
    SCOPED_TRACE(cut);
    std::string head = "<!--" + std::string(kXmlBlockSize - cut - 7, ' ') + "-->";
    ASSERT_EQ(kXmlBlockSize, head.size() + cut);
    ASSERT_EQ(expected, read(head + body, 0)) << "edge at byte " << cut;
  }
}

#endif
