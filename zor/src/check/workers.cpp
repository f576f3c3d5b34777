#include "check/workers.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include "error.h"
#include "files.h"
#include "warehouse.h"

namespace zor::check {

namespace {

constexpr std::size_t kMostWorkers = 64;
constexpr std::size_t kMostAtATime = 64;  // items that a process takes
constexpr std::size_t kTurns = 16;        // each process gets at least so many, if it can
constexpr unsigned kPatience = 30;        // seconds for one item
constexpr std::size_t kFull = std::size_t{1} << 16;

// ---- Messages: a letter, and texts and numbers in turn ----

class Writer {
 public:
  explicit Writer(int fd) : fd_(fd) {}

  Writer& letter(char c) {
    buffer_ += c;
    return *this;
  }
  Writer& number(std::uint64_t number) {
    buffer_.append(reinterpret_cast<const char*>(&number), sizeof number);
    return *this;
  }
  Writer& text(const std::string& text) {
    number(text.size());
    buffer_ += text;
    return *this;
  }
  Writer& position(const Position& position) {
    return number(static_cast<std::uint64_t>(position.line))
        .number(static_cast<std::uint64_t>(position.column));
  }
  // The other side sees nothing of what is written until then, or until much of it is.
  void flush() {
    if (!write_all(fd_, buffer_)) _exit(kTrouble);
    buffer_.clear();
  }
  void flush_if_full() {
    if (buffer_.size() > kFull) flush();
  }

 private:
  int fd_;
  std::string buffer_;
};

// Takes from the head of a text; complete turns false if it ends too early.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  bool complete() const { return complete_; }
  std::size_t taken() const { return taken_; }
  char letter() {
    const std::string_view piece = take(1);
    return piece.empty() ? '\0' : piece[0];
  }
  std::uint64_t number() {
    std::uint64_t number = 0;
    const std::string_view piece = take(sizeof number);
    if (complete_) std::memcpy(&number, piece.data(), sizeof number);
    return number;
  }
  std::string text() { return std::string(take(static_cast<std::size_t>(number()))); }
  Position position() {
    const auto line = static_cast<int>(number());
    return {line, static_cast<int>(number())};
  }

 private:
  std::string_view take(std::size_t length) {
    complete_ = complete_ && length <= text_.size() - taken_;
    if (!complete_) return {};
    taken_ += length;
    return text_.substr(taken_ - length, length);
  }

  std::string_view text_;
  std::size_t taken_ = 0;
  bool complete_ = true;
};

void write_findings(Writer* writer, const Findings& all) {
  for (const Finding& finding : all.findings)
    writer->letter('f')
        .text(finding.file)
        .position({finding.line, finding.column})
        .position({finding.end_line, finding.end_column})
        .text(finding.rule)
        .text(finding.text)
        .text(finding.help)
        .text(finding.product);
  for (const Link& link : all.facts.links)
    writer->letter('l').text(link.from).text(link.to).text(link.file).position(link.at).position(
        link.end);
  for (const StatedSeparator& stated : all.facts.separators)
    writer->letter('s')
        .text(stated.variable)
        .text(stated.separator)
        .text(stated.file)
        .position(stated.at)
        .position(stated.end);
  for (const Claim& claim : all.facts.claims)
    writer->letter('c')
        .letter(static_cast<char>(claim.kind))
        .text(claim.variable)
        .text(claim.value)
        .text(claim.product.category)
        .text(claim.product.name)
        .text(claim.product.version)
        .text(claim.product.rev)
        .text(claim.file)
        .position(claim.at)
        .position(claim.end);
}

void read_finding(Reader* reader, Findings* all) {
  Finding finding;
  finding.file = reader->text();
  const Position at = reader->position();
  const Position end = reader->position();
  finding.line = at.line;
  finding.column = at.column;
  finding.end_line = end.line;
  finding.end_column = end.column;
  finding.rule = reader->text();
  finding.text = reader->text();
  finding.help = reader->text();
  finding.product = reader->text();
  all->findings.push_back(std::move(finding));
}

// ---- Processes ----

struct Worker {
  pid_t process = -1;
  int fd = -1;
  std::string received;
  std::size_t at = SIZE_MAX;  // the item that it works on
};

volatile std::sig_atomic_t caught = 0;

void note_signal(int signal) {
  caught = signal;
}

// Notes the signals by which people end a program, while it lives.
class Catching {
 public:
  Catching() {
    caught = 0;
    struct sigaction action = {};
    action.sa_handler = note_signal;
    for (std::size_t i = 0; i < std::size(kSignals); ++i)
      sigaction(kSignals[i], &action, &before_[i]);
  }
  ~Catching() {
    for (std::size_t i = 0; i < std::size(kSignals); ++i)
      sigaction(kSignals[i], &before_[i], nullptr);
  }
  Catching(const Catching&) = delete;
  Catching& operator=(const Catching&) = delete;

  static void restore_default() {
    for (const int signal : kSignals)
      std::signal(signal, SIG_DFL);
  }

 private:
  static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
  struct sigaction before_[std::size(kSignals)] = {};
};

class Pool {
 public:
  explicit Pool(const Work& work) : work_(work) {
    void* shared = mmap(nullptr, sizeof(std::atomic<std::size_t>), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) fail("no memory to share: {}", std::strerror(errno));
    next_ = new (shared) std::atomic<std::size_t>(0);
  }
  ~Pool() {
    for (Worker& worker : workers_)
      end(&worker);
    munmap(static_cast<void*>(next_), sizeof *next_);
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  void run() {
    const auto cores = static_cast<std::size_t>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
    // Products that lie side by side often share parts. Each process reads those for itself, so it
    // pays to give it many neighbours at once.
    chunk_ = std::clamp(work_.items / (cores * kTurns), std::size_t{1}, kMostAtATime);
    const std::size_t chunks = (work_.items + chunk_ - 1) / chunk_;
    workers_.resize(std::min({cores, kMostWorkers, chunks}));
    for (Worker& worker : workers_)
      start(&worker, SIZE_MAX);
    while (wait()) {
    }
  }

 private:
  // Goes on with an item in the midst of a chunk, if there is one.
  void start(Worker* worker, std::size_t from) {
    int ends[2];
    if (pipe(ends) != 0) fail("no pipe for the check: {}", std::strerror(errno));
    const pid_t process = fork();
    if (process < 0) fail("no process for the check: {}", std::strerror(errno));
    if (process == 0) {
      Catching::restore_default();
      std::signal(SIGPIPE, SIG_DFL);
      std::signal(SIGALRM, SIG_DFL);
      for (const Worker& other : workers_)
        if (other.fd >= 0) close(other.fd);
      close(ends[0]);
      serve(ends[1], from);
    }
    close(ends[1]);
    *worker = {process, ends[0], {}, SIZE_MAX};
  }

  [[noreturn]] void serve(int fd, std::size_t from) {
    end_silently();
    Writer writer(fd);
    try {
      while (from < work_.items || (from = next_->fetch_add(chunk_)) < work_.items) {
        const std::size_t end = std::min(work_.items, (from / chunk_ + 1) * chunk_);
        for (; from < end; ++from) {
          writer.letter('b').number(from).flush();
          alarm(kPatience);
          write_findings(&writer, work_.check(from));
          alarm(0);
          writer.flush_if_full();
        }
        from = SIZE_MAX;
      }
      writer.letter('e').flush();
    } catch (const std::exception& error) {
      writer.letter('x').text(error.what()).flush();
    }
    std::exit(kDone);
  }

  // False once all have come to their end.
  bool wait() {
    std::vector<pollfd> polls;
    for (const Worker& worker : workers_)
      if (worker.fd >= 0) polls.push_back({worker.fd, POLLIN, 0});
    if (polls.empty()) return false;
    const int ready = poll(polls.data(), polls.size(), 200);
    if (caught != 0) stop();
    work_.progress(done_, work_.items);
    if (ready <= 0) return true;
    for (Worker& worker : workers_)
      for (const pollfd& each : polls)
        if (each.fd == worker.fd && each.revents != 0) {
          receive(&worker);
          break;
        }
    return true;
  }

  [[noreturn]] void stop() {
    for (Worker& worker : workers_)
      end(&worker);
    work_.stopped();
    const int signal = caught;
    Catching::restore_default();
    std::raise(signal);
    std::abort();
  }

  static void end(Worker* worker) {
    if (worker->fd >= 0) close(worker->fd);
    if (worker->process > 0) {
      kill(worker->process, SIGKILL);
      waitpid(worker->process, nullptr, 0);
    }
    worker->fd = -1;
    worker->process = -1;
  }

  void receive(Worker* worker) {
    char buffer[kFull];
    const ssize_t length = read(worker->fd, buffer, sizeof buffer);
    if (length < 0) {
      if (errno == EINTR) return;
      fail("the check can't be read: {}", std::strerror(errno));
    }
    if (length == 0) {
      bury(worker);
      return;
    }
    worker->received.append(buffer, static_cast<std::size_t>(length));
    take(worker);
  }

  void take(Worker* worker) {
    Findings findings;
    std::size_t taken = 0;
    while (worker->fd >= 0) {
      Reader reader(std::string_view(worker->received).substr(taken));
      const char letter = reader.letter();
      Findings one;
      std::string error;
      std::size_t number = 0;
      if (letter == 'b') number = static_cast<std::size_t>(reader.number());
      if (letter == 'f') read_finding(&reader, &one);
      if (letter == 'l') one.facts.links.push_back(read_link(&reader));
      if (letter == 's') one.facts.separators.push_back(read_stated(&reader));
      if (letter == 'c') one.facts.claims.push_back(read_claim(&reader));
      if (letter == 'x') error = reader.text();
      if (!reader.complete()) break;
      taken += reader.taken();
      if (letter == 'x') throw Error(error, kTrouble);
      if (letter == 'b' || letter == 'e') {
        if (worker->at != SIZE_MAX) ++done_;
        worker->at = letter == 'b' ? number : SIZE_MAX;
        if (letter == 'e') {
          close(worker->fd);
          worker->fd = -1;
          waitpid(worker->process, nullptr, 0);
          worker->process = -1;
        }
      } else {
        work_.take(std::move(one));
      }
    }
    worker->received.erase(0, taken);
  }

  static Link read_link(Reader* reader) {
    Link link;
    link.from = reader->text();
    link.to = reader->text();
    link.file = reader->text();
    link.at = reader->position();
    link.end = reader->position();
    return link;
  }

  static StatedSeparator read_stated(Reader* reader) {
    StatedSeparator stated;
    stated.variable = reader->text();
    stated.separator = reader->text();
    stated.file = reader->text();
    stated.at = reader->position();
    stated.end = reader->position();
    return stated;
  }

  static Claim read_claim(Reader* reader) {
    Claim claim;
    claim.kind = static_cast<Claim::Kind>(reader->letter());
    claim.variable = reader->text();
    claim.value = reader->text();
    claim.product.category = reader->text();
    claim.product.name = reader->text();
    claim.product.version = reader->text();
    claim.product.rev = reader->text();
    claim.file = reader->text();
    claim.at = reader->position();
    claim.end = reader->position();
    return claim;
  }

  // It has ended before its time. What it found before the item that it could not cope with has
  // arrived.
  void bury(Worker* worker) {
    int status = 0;
    close(worker->fd);
    waitpid(worker->process, &status, 0);
    const std::size_t at = worker->at;
    *worker = {};
    const bool known = WIFSIGNALED(status) || WEXITSTATUS(status) == kTrouble;
    if (at == SIZE_MAX || !known)
      throw Error(fmt::format("a process of the check ended with status {}", WEXITSTATUS(status)),
                  kTrouble);
    work_.lost(at, WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM);
    ++done_;
    const bool chunk_is_done = (at + 1) % chunk_ == 0;
    start(worker, chunk_is_done ? SIZE_MAX : at + 1);
  }

  const Work& work_;
  std::atomic<std::size_t>* next_;
  std::size_t chunk_ = 1;
  std::vector<Worker> workers_;
  std::size_t done_ = 0;
};

}  // namespace

void run_workers(const Work& work) {
  if (work.items == 0) return;
  const Catching catching;
  Pool(work).run();
}

}  // namespace zor::check
