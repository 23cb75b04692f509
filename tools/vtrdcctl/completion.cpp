// Shell completion of vtrdcctl's command line.
#include "vtrdcctl/completion.h"

namespace {

// Offers no second command.
constexpr const char* FUNCTION = R"(
_vtrdcctl() {
    local current=${COMP_WORDS[COMP_CWORD]} offered="$_vtrdcctl_options $_vtrdcctl_commands" word
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    -s | --socket)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    -t | --timeout | -w | --wait | -r | --retry | --for | --until) return ;;
    --completion) offered=bash ;;
    *)
        for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
            [[ " $_vtrdcctl_commands " != *" $word "* ]] || offered=$_vtrdcctl_options
            [[ $word != watch ]] || offered+=" $_vtrdcctl_watch_options"
        done
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$offered" -- "$current")
}
complete -F _vtrdcctl vtrdcctl
)";

std::string assignment(const char* variable, const std::vector<std::string>& words) {
    std::string text = std::string{variable} + "='";
    for (const std::string& word : words) {
        text += " " + word;
    }
    return text + "'\n";
}

} // namespace

std::string bash_completion(const command_line_names& names) {
    return "# Completion for vtrdcctl, written by vtrdcctl --completion bash.\n" +
           assignment("_vtrdcctl_options", names.options) +
           assignment("_vtrdcctl_watch_options", names.watch_options) +
           assignment("_vtrdcctl_commands", names.commands) + FUNCTION;
}
