// Drawings of boxes and arrows, for programs that lay them out: DOT for Graphviz, Mermaid, and the
// SVG that Graphviz makes of the first.
#ifndef ZOR_RENDER_GRAPH_H
#define ZOR_RENDER_GRAPH_H

#include <string>
#include <vector>

#include "environment.h"

namespace zor {

// How a box or an arrow stands out.
enum class Stroke { kPlain, kBold, kDashed, kAlarm };

struct Box {
  std::vector<std::string> lines;
  int frame = -1;  // the frame around it; below 0 for none
  Stroke stroke = Stroke::kPlain;
};

struct Arrow {
  int from = 0;
  int to = 0;
  std::string label;  // may be empty
  Stroke stroke = Stroke::kPlain;
};

// Texts may hold any bytes: in a drawing, which is UTF-8 whatever the locale is, controls and what
// is no character stand as \xNN.
struct Drawing {
  std::string title;
  std::vector<std::string> frames;  // their labels
  std::vector<Box> boxes;
  std::vector<Arrow> arrows;
  std::vector<Arrow> between_frames;  // each of which holds a box
};

std::string as_dot(const Drawing& drawing);
std::string as_mermaid(const Drawing& drawing);
// Runs the program dot, which is looked for on the PATH of the environment. Throws Error if it is
// not there or fails.
std::string as_svg(const Drawing& drawing, const Environment& environment);

}  // namespace zor

#endif
