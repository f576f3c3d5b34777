// The function for PowerShell.
#include "init/text.h"
#include "words.h"

namespace zor {

namespace {

constexpr std::string_view kDefinition = R"zor(function global:zor {
    $program = @PROGRAM@
    if ($args.Count -eq 0 -or @('@COMMANDS@') -cnotcontains $args[0]) {
        & $program @args
        return
    }
    $script = (& $program --shell powershell @args) -join "`n"
    if ($LASTEXITCODE -eq @DIRECTLY@) {
        & $program @args
        return
    }
    if ($LASTEXITCODE -ne 0) { return }
    if (-not ($script.StartsWith('# zor-begin', 'Ordinal') -and $script.EndsWith('# zor-end', 'Ordinal'))) {
        Write-Error 'zor: the program printed something else than a script; nothing was changed'
        return
    }
    Invoke-Expression $script
}
Register-ArgumentCompleter -Native -CommandName zor -ScriptBlock {
    param($word, $command, $position)
    $words = @($command.CommandElements | Select-Object -Skip 1 | ForEach-Object { $_.Extent.Text })
    if ($word -eq '') { $words += '' }
    & @PROGRAM@ complete powershell -- @words 2>$null
}
)zor";

}  // namespace

std::string define_for_powershell(const Callee& callee) {
  return filled(kDefinition, {{"COMMANDS", joined(callee.changing, "', '")},
                              {"DIRECTLY", directly()},
                              {"PROGRAM", quoted(callee.path, '\'', {{'\'', "''"}})}});
}

}  // namespace zor
