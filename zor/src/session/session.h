// Sessions: an environment is a function of a base environment and of a list of requests.
//
// A session is the list, in groups as a request has them, with each version and rev as it was taken
// when the product was loaded. It lives in the environment that it describes, in ZOR_SESSION, so
// subshells inherit it and it ends with its shell. A step puts the base back, computes the
// environment of the new list from scratch and replaces the old one by it:
//
//   const Session session = read_session(context->environment);
//   Contents contents = session.contents;
//   ... contents.groups ...
//   take_step(session, contents, context);       context->script holds what the shell evaluates
//
// So what results never depends on what was loaded and unloaded in between, and an empty list
// leaves exactly the base. What the user changed by hand meanwhile is kept (hand.h).
//
// The shell's function calls
//
//   command zor --shell DIALECT VERB WORD...
//
// and evaluates standard output if the status is 0. With --shell standard output holds a script or
// nothing: all text for people, such as that of --help, goes to standard error. So the function may
// call every verb in this way. It has to do so for those that change the environment: the rows of
// the table in main.cpp that are marked so. "set" changes it only if words follow; the function had
// better run all other verbs without --shell, as their output may be piped.
#ifndef ZOR_SESSION_SESSION_H
#define ZOR_SESSION_SESSION_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "commands/command.h"
#include "environment.h"
#include "request.h"
#include "session/hand.h"
#include "warehouse.h"

namespace zor {

// A product that a session holds.
struct Pin {
  NamedQuery named;   // with the version and rev that were taken
  ProductName asked;  // as it was asked for, "+" where that was left open

  bool operator==(const Pin& other) const {
    return named.query == other.named.query && asked == other.asked;
  }
};

// What a user asked a session to hold.
struct Contents {
  std::vector<std::vector<Pin>> groups;  // none is empty
  // Conditions for products that are loaded from now on, where their varieties have the variable.
  std::vector<Binding> variables;

  bool empty() const { return groups.empty() && variables.empty(); }
  bool operator==(const Contents&) const = default;
};

// A variable that the products of a session change.
struct Tracked {
  std::optional<std::string> base;  // its value without the session; none if it is not set
  std::optional<std::string> last;  // as the session left it
  std::string separator = ":";
  Hand hand;  // what the user did to its elements
  // The user has set or removed the variable as a whole: it stays so. computed is what it would be.
  bool left_alone = false;
  std::optional<std::string> computed;
};

// Data files of a product by their names, with a digest of each content.
using Digests = std::map<std::string, std::string>;

struct Session {
  std::string root;      // absolute
  std::string platform;  // of the host on which the last step was taken
  Contents contents;
  std::map<std::string, Tracked> variables;
  std::map<std::string, Digests> files;  // by the product's path below the root
  std::vector<Contents> history;         // what undo goes back to, oldest first

  bool empty() const { return contents.empty(); }
};

// That of the environment, or an empty one. Throws Error if what is there was cut short, altered or
// written by a newer version.
Session read_session(const Environment& environment);

// The texts of a session for the environment: ZOR_SESSION, ZOR_SESSION_1 and so on; none for an
// empty session.
std::vector<Change> session_texts(const Session& session);

bool is_session_text(std::string_view name);

// The environment as it would be without the session, but with what the user changed by hand, in
// the order of names: what shells hand on has no order of its own, and results may depend on it.
Environment base_of(const Session& session, const Environment& environment);

// What a session holds as a request.
Request request_of(const Contents& contents, const std::string& root);

// Brings the variables of a session up to what the user has done since the last step. Gives a line
// for each that is left to the user from now on.
std::string take_up_changes(Session* session, const Environment& environment);

// Computes the environment of the contents, which replaces that of the session, and puts into
// context->script what brings it about. Contents that are not pinned yet are. root may be empty if
// the session has one. Undo will lead back to the session's contents, unless undone says that this
// step is such a way back already.
// Throws Error, with nothing changed, where the environment can't be computed or the shell can't
// take it.
void take_step(const Session& session, Contents contents, const std::string& root, Context* context,
               bool undone = false);

// Where a product stands in a session.
struct Place {
  std::size_t group;
  std::size_t index;
};

// The places of the product that a word names: category/name or name, with version and rev behind
// it or not, or the word as it was typed at loading. Throws Error that lists what there is if the
// word names none or several.
std::vector<Place> find_loaded(const Contents& contents, const std::string& word);

// Takes the products at these places out, and groups that become empty.
void take_out(Contents* contents, const std::vector<Place>& places);

// The requests of a command line as pins that are still open, with the session's variables as
// conditions where they apply. Throws Error where -u or -i was given, or a root that is not the
// session's.
std::vector<std::vector<Pin>> pins_of(const Session& session, Request request,
                                      const Context& context);

// The root for a step: that of the session, if it holds a product, or that of the request.
std::string root_for(const Session& session, const Request& request);

// Fails unless --shell was given, with what to put into which start-up file.
void require_shell(const Context& context, const std::string& verb);

}  // namespace zor

#endif
