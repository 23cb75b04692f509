// Completion of vtrdcctl's command line in a shell.
#include "vtrdcctl/completion.h"

#include "vtrdcctl/requests.h"

namespace {

// A second command is never offered.
constexpr const char* FUNCTION = R"(
_vtrdcctl() {
    local current=${COMP_WORDS[COMP_CWORD]} offered="$_vtrdcctl_options $_vtrdcctl_commands" word
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    -s | --socket)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    -t | --timeout | -r | --retry) return ;;
    --completion) offered=bash ;;
    *)
        for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
            [[ " $_vtrdcctl_commands " != *" $word "* ]] || offered=$_vtrdcctl_options
        done
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$offered" -- "$current")
}
complete -F _vtrdcctl vtrdcctl
)";

} // namespace

std::string bash_completion(std::span<const std::string> options) {
    std::string names;
    for (const std::string& name : options) {
        names += " " + name;
    }
    std::string commands;
    for (const client_command& command : all_commands()) {
        commands += " ";
        commands += command.name;
    }
    return "# Completion for vtrdcctl, written by vtrdcctl --completion bash.\n"
           "_vtrdcctl_options='" +
           names + "'\n_vtrdcctl_commands='" + commands + "'\n" + FUNCTION;
}
