#include "render/graph.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "error.h"
#include "files.h"
#include "formats/names.h"

namespace zor {

namespace {

// XML 1.0, which SVG is, has no U+FFFE and U+FFFF, and nothing shows the second set of controls.
bool can_be_drawn(char32_t character) {
  return character >= U' ' && (character < 0x7F || character >= 0xA0) && character != 0x2028 &&
         character != 0x2029 && character != 0xFFFE && character != 0xFFFF;
}

// The length of the UTF-8 character at the start of a text, or 0 if there is none.
std::size_t length_of_first(std::string_view text) {
  for (std::size_t length = 1; length <= std::min<std::size_t>(4, text.size()); ++length)
    if (is_utf8(text.substr(0, length))) return length;
  return 0;
}

// Calls back for each piece of a text: one character, or the \xNN of one that can't be drawn.
template <typename Piece>
void go_through(std::string_view text, Piece piece) {
  while (!text.empty()) {
    const std::size_t length = length_of_first(text);
    const std::string_view head = text.substr(0, std::max<std::size_t>(1, length));
    if (length > 0 && can_be_drawn(first_character(head))) {
      piece(head);
    } else {
      for (const char c : head)
        for (const char escaped : fmt::format("\\x{:02x}", static_cast<unsigned char>(c)))
          piece(std::string_view(&escaped, 1));
    }
    text.remove_prefix(head.size());
  }
}

// ---- DOT ----

// Inside quotes; a backslash begins an escape there, and an ampersand the name of a character.
std::string dot_text(std::string_view text) {
  std::string result;
  go_through(text, [&](std::string_view piece) {
    if (piece == "\"" || piece == "\\") result += '\\';
    result += piece == "&" ? "&amp;" : piece;
  });
  return result;
}

std::string dot_label(const std::vector<std::string>& lines) {
  std::string label;
  for (const std::string& line : lines)
    label += (label.empty() ? "" : "\\n") + dot_text(line);
  return label;
}

const char* dot_style(Stroke stroke) {
  switch (stroke) {
    case Stroke::kBold:
      return ", style=bold";
    case Stroke::kDashed:
      return ", style=dashed";
    case Stroke::kAlarm:
      return ", style=bold, color=red";
    case Stroke::kPlain:
      break;
  }
  return "";
}

std::string dot_box(const Drawing& drawing, std::size_t i) {
  const Box& box = drawing.boxes[i];
  return fmt::format("n{} [label=\"{}\"{}];\n", i, dot_label(box.lines), dot_style(box.stroke));
}

std::size_t first_box_in(const Drawing& drawing, int frame) {
  const auto inside = [&](const Box& box) { return box.frame == frame; };
  return static_cast<std::size_t>(std::find_if(drawing.boxes.begin(), drawing.boxes.end(), inside) -
                                  drawing.boxes.begin());
}

// ---- Mermaid ----

// In a quoted text all but letters, digits and a few signs stand as numbers, since what else means
// something differs from version to version.
std::string mermaid_text(std::string_view text) {
  constexpr std::string_view kHarmless = " ./_-+=,";
  std::string result;
  go_through(text, [&](std::string_view piece) {
    const char c = piece[0];
    const bool plain = piece.size() > 1 || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                       (c >= 'a' && c <= 'z') || kHarmless.find(c) != std::string_view::npos;
    result += plain ? std::string(piece) : fmt::format("#{};", static_cast<unsigned char>(c));
  });
  return result;
}

std::string mermaid_label(const std::vector<std::string>& lines) {
  std::string label;
  for (const std::string& line : lines)
    label += (label.empty() ? "" : "<br/>") + mermaid_text(line);
  return label;
}

std::string mermaid_arrow(const std::string& from, const std::string& to, const Arrow& arrow) {
  const char* const line = arrow.stroke == Stroke::kDashed  ? "-.->"
                           : arrow.stroke == Stroke::kAlarm ? "==>"
                                                            : "-->";
  return fmt::format("  {} {}|\"{}\"| {}\n", from, line, mermaid_text(arrow.label), to);
}

std::string mermaid_box(const Drawing& drawing, std::size_t i, const char* indent) {
  const Box& box = drawing.boxes[i];
  const char* const name = box.stroke == Stroke::kDashed  ? ":::dashed"
                           : box.stroke == Stroke::kAlarm ? ":::alarm"
                           : box.stroke == Stroke::kBold  ? ":::bold"
                                                          : "";
  return fmt::format("{}n{}[\"{}\"]{}\n", indent, i, mermaid_label(box.lines), name);
}

// ---- Running dot ----

// The first program of that name on the PATH; empty if there is none.
std::string program_on_path(const std::string& name, const Environment& environment) {
  const std::string path(environment.find("PATH").value_or(""));
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find(':', start), path.size());
    std::string file = path.substr(start, end - start) + '/' + name;
    if (end > start && is_program(file)) return file;
    start = end + 1;
  }
  return {};
}

// What a program writes to its standard output, given that input. It inherits standard error.
std::string output_of(const std::string& program, const char* argument, const std::string& input) {
  // In a file, so that neither waits for the other.
  const int in = memfd_create("input", MFD_CLOEXEC);
  std::array<int, 2> ends = {-1, -1};
  if (in < 0 || !write_all(in, input) || lseek(in, 0, SEEK_SET) != 0 ||
      pipe2(ends.data(), O_CLOEXEC) != 0)
    fail("{}: {}", program, std::strerror(errno));
  const pid_t child = fork();
  if (child == 0) {
    dup2(in, STDIN_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    execl(program.c_str(), program.c_str(), argument, nullptr);
    _exit(127);
  }
  close(in);
  close(ends[1]);
  std::string output;
  std::array<char, 16384> block = {};
  for (ssize_t count;
       (count = read(ends[0], block.data(), block.size())) > 0 || (count < 0 && errno == EINTR);)
    if (count > 0) output.append(block.data(), static_cast<std::size_t>(count));
  close(ends[0]);
  int status = -1;
  while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0) throw Error(fmt::format("{} could not draw this", program), kTrouble);
  return output;
}

}  // namespace

std::string as_dot(const Drawing& drawing) {
  std::string text =
      fmt::format("digraph \"{}\" {{\n  compound=true;\n  rankdir=LR;\n  node [shape=box];\n",
                  dot_text(drawing.title));
  for (std::size_t i = 0; i < drawing.boxes.size(); ++i)
    if (drawing.boxes[i].frame < 0) text += "  " + dot_box(drawing, i);
  for (std::size_t frame = 0; frame < drawing.frames.size(); ++frame) {
    text += fmt::format("  subgraph cluster_{} {{\n    label=\"{}\";\n", frame,
                        dot_text(drawing.frames[frame]));
    for (std::size_t i = 0; i < drawing.boxes.size(); ++i)
      if (drawing.boxes[i].frame == static_cast<int>(frame)) text += "    " + dot_box(drawing, i);
    text += "  }\n";
  }
  for (const Arrow& arrow : drawing.arrows)
    text += fmt::format("  n{} -> n{} [label=\"{}\"{}];\n", arrow.from, arrow.to,
                        dot_text(arrow.label), dot_style(arrow.stroke));
  for (const Arrow& arrow : drawing.between_frames)
    text += fmt::format("  n{} -> n{} [ltail=cluster_{}, lhead=cluster_{}, label=\"{}\"{}];\n",
                        first_box_in(drawing, arrow.from), first_box_in(drawing, arrow.to),
                        arrow.from, arrow.to, dot_text(arrow.label), dot_style(arrow.stroke));
  return text + "}\n";
}

std::string as_mermaid(const Drawing& drawing) {
  std::string text = "flowchart LR\n";
  for (std::size_t i = 0; i < drawing.boxes.size(); ++i)
    if (drawing.boxes[i].frame < 0) text += mermaid_box(drawing, i, "  ");
  for (std::size_t frame = 0; frame < drawing.frames.size(); ++frame) {
    text += fmt::format("  subgraph g{}[\"{}\"]\n", frame, mermaid_text(drawing.frames[frame]));
    for (std::size_t i = 0; i < drawing.boxes.size(); ++i)
      if (drawing.boxes[i].frame == static_cast<int>(frame))
        text += mermaid_box(drawing, i, "    ");
    text += "  end\n";
  }
  for (const Arrow& arrow : drawing.arrows)
    text += mermaid_arrow(fmt::format("n{}", arrow.from), fmt::format("n{}", arrow.to), arrow);
  for (const Arrow& arrow : drawing.between_frames)
    text += mermaid_arrow(fmt::format("g{}", arrow.from), fmt::format("g{}", arrow.to), arrow);
  return text +
         "  classDef dashed stroke-dasharray:5 5\n"
         "  classDef bold stroke-width:3px\n"
         "  classDef alarm stroke:red,stroke-width:3px\n";
}

std::string as_svg(const Drawing& drawing, const Environment& environment) {
  const std::string dot = program_on_path("dot", environment);
  if (dot.empty())
    throw Error(
        "the format svg needs the program dot, which is not on PATH; it is in the package "
        "graphviz. --format dot prints what it would be given",
        kTrouble);
  return output_of(dot, "-Tsvg", as_dot(drawing));
}

}  // namespace zor
