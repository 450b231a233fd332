#include "Utility/InstallInspector/Completion/CompletionScripts.h"

#include "Utility/InstallInspector/Report/Output.h"

#include <string_view>

namespace {

/// `text` with `before` in front of each character of `special`.
std::string escaped(const std::string& text, std::string_view special, const char* before) {
    std::string result;
    for (const char character : text) {
        if (special.find(character) != std::string_view::npos) {
            result += before;
        }
        result += character;
    }
    return result;
}

/// One word for a shell. In fish, a backslash counts between single quotes, too.
std::string quotedWord(const std::string& text, bool bFish = false) {
    if (bFish) {
        return "'" + escaped(text, "'\\", "\\") + "'";
    }
    std::string result = "'";
    for (const char character : text) {
        result += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return result + "'";
}

std::vector<std::string> namesOf(const std::vector<OptionSyntax>& options) {
    std::vector<std::string> names;
    for (const OptionSyntax& option : options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

std::vector<std::string> namesOf(const std::vector<SubcommandSyntax>& subcommands) {
    std::vector<std::string> names;
    names.reserve(subcommands.size());
    for (const SubcommandSyntax& subcommand : subcommands) {
        names.push_back(subcommand.name);
    }
    return names;
}

std::string bashCase(const std::string& pattern, const std::vector<std::string>& words) {
    return "    " + pattern + ") words=" + quotedWord(joined(words, " ")) + " ;;\n";
}

// zsh

/// What `_arguments` calls for a value: ":FILE:_files".
std::string zshValue(const ValueSyntax& value) {
    const std::string name = ":" + escaped(value.name, "\\:", "\\") + ":";
    switch (value.kind) {
    case ValueSyntax::Kind::None:
        return "";
    case ValueSyntax::Kind::Text:
        return name + " ";
    case ValueSyntax::Kind::File:
        return name + "_files";
    case ValueSyntax::Kind::Folder:
        return name + "_files -/";
    case ValueSyntax::Kind::Word:
        return name + "(" + joined(value.words, " ") + ")";
    }
    return "";
}

std::string zshOption(const OptionSyntax& option, const std::string& name) {
    // Other names of an option that was given are no longer offered.
    const std::string before = option.bRepeatable ? "*" : "(" + joined(option.names, " ") + ")";
    const bool bValue = option.value.kind != ValueSyntax::Kind::None;
    const std::string text = escaped(option.description, "\\[]:", "\\");
    return quotedWord(before + name + (bValue && name.rfind("--", 0) == 0 ? "=" : "") + "[" + text + "]" +
                      zshValue(option.value));
}

std::string zshArguments(const SubcommandSyntax& subcommand) {
    std::string text;
    for (const OptionSyntax& option : subcommand.options) {
        for (const std::string& name : option.names) {
            text += " \\\n            " + zshOption(option, name);
        }
    }
    for (std::size_t at = 0; at < subcommand.arguments.size(); ++at) {
        const bool bRepeated = subcommand.bMoreArguments && at + 1 == subcommand.arguments.size();
        text += " \\\n            " + quotedWord((bRepeated ? "*" : "") + zshValue(subcommand.arguments[at]));
    }
    return text;
}

// fish

std::string fishOption(const OptionSyntax& option) {
    std::string text;
    for (const std::string& name : option.names) {
        text += name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    switch (option.value.kind) {
    case ValueSyntax::Kind::None:
        break;
    case ValueSyntax::Kind::Text:
        text += " -x";
        break;
    case ValueSyntax::Kind::File:
        text += " -r -F";
        break;
    case ValueSyntax::Kind::Folder:
        text += " -x -a '(__fish_complete_directories)'";
        break;
    case ValueSyntax::Kind::Word:
        text += " -x -a " + quotedWord(joined(option.value.words, " "), true);
        break;
    }
    return text + " -d " + quotedWord(option.description, true) + "\n";
}

} // namespace

std::string bashCompletion(const ProgramSyntax& program) {
    std::vector<std::string> first = namesOf(program.subcommands);
    for (const std::string& name : namesOf(program.options)) {
        first.push_back(name);
    }
    // The first pattern that fits counts: number of the word, subcommand, the word before, the word.
    std::string cases = bashCase("1:*", first);
    std::string afterValues;
    for (const SubcommandSyntax& subcommand : program.subcommands) {
        const std::string pattern = "*:" + subcommand.name + ":";
        for (const OptionSyntax& option : subcommand.options) {
            for (const std::string& name : option.names) {
                // For a value without words, bash completes the names of files.
                cases += option.value.kind == ValueSyntax::Kind::None
                             ? ""
                             : bashCase(pattern + name + ":*", option.value.words);
            }
        }
        afterValues += bashCase(pattern + "*:-*", namesOf(subcommand.options));
        for (const ValueSyntax& argument : subcommand.arguments) {
            afterValues += argument.words.empty() ? "" : bashCase(pattern + "*", argument.words);
        }
    }
    return "# Completion for bash; \"" + program.name + " completion bash\" has written it.\n_" +
           program.name +
           R"SCRIPT(() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=
    # "--option=value" comes as three words.
    if [ "$before" = = ]; then before=${COMP_WORDS[COMP_CWORD - 2]}; fi
    if [ "$word" = = ]; then word=; fi
    case $COMP_CWORD:${COMP_WORDS[1]}:$before:$word in
)SCRIPT" + cases +
           afterValues + R"SCRIPT(    esac
    COMPREPLY=($(compgen -W "$words" -- "$word"))
}
complete -o bashdefault -o default -F _)SCRIPT" +
           program.name + " " + program.name + "\n";
}

std::string zshCompletion(const ProgramSyntax& program) {
    std::string described;
    std::string arguments;
    for (const SubcommandSyntax& subcommand : program.subcommands) {
        described += "        " + quotedWord(subcommand.name + ":" + subcommand.description) + "\n";
        arguments += "        " + subcommand.name + ") _arguments -s" + zshArguments(subcommand) + " ;;\n";
    }
    std::string options;
    for (const OptionSyntax& option : program.options) {
        for (const std::string& name : option.names) {
            options += " \\\n        " + zshOption(option, name);
        }
    }
    return "#compdef " + program.name + "\n# Completion for zsh; \"" + program.name +
           " completion zsh\" has written it.\n"
           "local curcontext=$curcontext state line\n"
           "local -a subcommands\n"
           "_arguments -C" +
           options +
           " \\\n        '1: :->subcommand' '*:: :->rest'\n"
           "case $state in\n"
           "subcommand)\n"
           "    subcommands=(\n" +
           described +
           "    )\n"
           "    _describe subcommand subcommands ;;\n"
           "rest)\n"
           "    case $words[1] in\n" +
           arguments +
           "    esac ;;\n"
           "esac\n";
}

std::string fishCompletion(const ProgramSyntax& program) {
    const std::string begin = "complete -c " + program.name;
    const std::string first = begin + " -n __fish_use_subcommand";
    std::string text = "# Completion for fish; \"" + program.name + " completion fish\" has written it.\n";
    for (const OptionSyntax& option : program.options) {
        text += first + fishOption(option);
    }
    for (const SubcommandSyntax& subcommand : program.subcommands) {
        text +=
            first + " -f -a " + subcommand.name + " -d " + quotedWord(subcommand.description, true) + "\n";
    }
    for (const SubcommandSyntax& subcommand : program.subcommands) {
        const std::string inside = begin + " -n '__fish_seen_subcommand_from " + subcommand.name + "'";
        for (const OptionSyntax& option : subcommand.options) {
            text += inside + fishOption(option);
        }
        for (const ValueSyntax& argument : subcommand.arguments) {
            if (!argument.words.empty()) {
                text += inside + " -f -a " + quotedWord(joined(argument.words, " "), true) + "\n";
            }
        }
    }
    return text;
}
