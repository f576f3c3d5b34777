// The command for xonsh.
#include "init/text.h"
#include "words.h"

namespace zor {

namespace {

// An interrupt would leave the evaluation half-way. Only the main thread can keep it off, and only
// that one gets it.
constexpr std::string_view kDefinition =
    R"zor(def _zor(args, stdin=None, stdout=None, stderr=None):
    import signal
    import subprocess
    import sys
    program = @PROGRAM@
    environment = __xonsh__.env.detype()

    def run(words, output):
        sys.stdout.flush()
        return subprocess.run([program, *words], env=environment, stdin=stdin, stdout=output, stderr=stderr)

    if not args or args[0] not in ('@COMMANDS@',):
        return run(args, stdout).returncode
    result = run(['--shell', 'xonsh', *args], subprocess.PIPE)
    if result.returncode == @DIRECTLY@:
        return run(args, stdout).returncode
    if result.returncode != 0:
        return result.returncode if result.returncode > 0 else 128 - result.returncode
    if not (result.stdout.startswith(b'# zor-begin') and result.stdout.endswith(b'# zor-end\n')):
        print('zor: the program printed something else than a script; nothing was changed', file=sys.stderr)
        return 1
    script = result.stdout.decode('utf-8', 'surrogateescape')
    try:
        kept = signal.signal(signal.SIGINT, signal.SIG_IGN)
    except ValueError:
        kept = None
    try:
        __xonsh__.execer.exec(script, mode='exec', glbs={'__xonsh__': __xonsh__})
    finally:
        if kept is not None:
            signal.signal(signal.SIGINT, kept)
    return 0


aliases['zor'] = _zor
del _zor
)zor";

}  // namespace

std::string define_for_xonsh(const Callee& callee) {
  return filled(
      kDefinition,
      {{"COMMANDS", joined(callee.changing, "', '")},
       {"DIRECTLY", directly()},
       {"PROGRAM", quoted(callee.path, '\'', {{'\\', "\\\\"}, {'\'', "\\'"}, {'\n', "\\n"}})}});
}

}  // namespace zor
