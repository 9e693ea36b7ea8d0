// Writes the tree of commands as one shell function, and the few lines that tie it to each shell.
#include "completion.h"

#include <fmt/format.h>

#include <functional>
#include <set>
#include <string_view>
#include <vector>

#include "stream_kinds.h"

namespace {

/// What may follow a command: its commands and options.
std::vector<std::string> wordsAfter(const CLI::App& command) {
    std::vector<std::string> words;
    for (const CLI::App* const next : command.get_subcommands({})) {
        words.push_back(next->get_name());
    }
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            words.push_back("--" + name);
        }
    }
    return words;
}

bool takesStream(const CLI::Option& option) {
    return option.get_type_name().rfind("STREAM", 0) == 0;
}

/// Calls `visit` for every command with the words that lead to it.
void visitCommands(const CLI::App& command, const std::string& path,
                   const std::function<void(const CLI::App&, const std::string&)>& visit) {
    visit(command, path);
    for (const CLI::App* const next : command.get_subcommands({})) {
        visitCommands(*next, path + (path.empty() ? "" : " ") + next->get_name(), visit);
    }
}

/// Takes the words before the one to complete, and prints the candidates.
constexpr std::string_view kFunction = R"sh(_sensorctl_words() {{
    local command= last= word
    for word in "$@"; do
        case "$command${{command:+ }}$word" in
            {commands}) command="$command${{command:+ }}$word" ;;
        esac
        last=$word
    done
    case "$last" in
        --streams|--expect) echo "{streams}"; return ;;
        {valued}) return ;;
    esac
    case "$command" in
{words}    esac
}}
)sh";

constexpr std::string_view kBash = R"sh(_sensorctl() {
    local before=("${COMP_WORDS[@]:1:COMP_CWORD-1}")
    COMPREPLY=($(compgen -W "$(_sensorctl_words "${before[@]}")" -- "${COMP_WORDS[COMP_CWORD]}"))
}
complete -o default -F _sensorctl sensorctl
)sh";

/// Works both as a file in fpath and when it is sourced.
constexpr std::string_view kZsh = R"sh(_sensorctl() {
    local candidates=(${(z)"$(_sensorctl_words "${(@)words[2,CURRENT-1]}")"})
    compadd -a candidates || _files
}
if [[ "$funcstack[1]" == _sensorctl ]]; then
    _sensorctl "$@"
else
    compdef _sensorctl sensorctl
fi
)sh";

}  // namespace

std::string completionScript(const CLI::App& app, const std::string& shell) {
    const std::string streams = fmt::format("{}", fmt::join(streamNames(), " "));
    std::vector<std::string> commands;
    std::set<std::string> valued;
    std::string words;
    visitCommands(app, "", [&](const CLI::App& command, const std::string& path) {
        if (!path.empty()) {
            commands.push_back('"' + path + '"');
        }
        std::string next = fmt::format("{}", fmt::join(wordsAfter(command), " "));
        for (const CLI::Option* const option : command.get_options()) {
            if (option->get_positional()) {
                next += takesStream(*option) ? " " + streams : "";
            } else if (option->get_items_expected_max() > 0) {
                // Most values are files, which the shell completes itself.
                valued.insert("--" + option->get_lnames().front());
            }
        }
        words += fmt::format("        \"{}\") echo \"{}\" ;;\n", path, next);
    });
    return (shell == "zsh" ? "#compdef sensorctl\n" : "") +
           fmt::format(kFunction, fmt::arg("commands", fmt::join(commands, "|")),
                       fmt::arg("streams", streams), fmt::arg("valued", fmt::join(valued, "|")),
                       fmt::arg("words", words)) +
           std::string(shell == "zsh" ? kZsh : kBash);
}
