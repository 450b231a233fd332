#pragma once

#include <string>
#include <vector>

/// What may stand on the command line of a program, as far as a shell can complete it.

/// What follows an option, or stands by itself.
struct ValueSyntax {
    enum class Kind {
        None, ///< nothing follows
        Text, ///< nothing that a shell knows
        File,
        Folder,
        Word, ///< one of `words`
    };
    Kind kind = Kind::None;
    std::string name;               ///< for users, for example "FILE"
    std::vector<std::string> words; ///< without blanks
};

struct OptionSyntax {
    std::vector<std::string> names; ///< as they are typed: "-o", "--output"
    std::string description;
    ValueSyntax value;
    bool bRepeatable = false;
};

struct SubcommandSyntax {
    std::string name;
    std::string description;
    std::vector<OptionSyntax> options;
    std::vector<ValueSyntax> arguments; ///< in their order
    bool bMoreArguments = false;        ///< the last one may be repeated
};

struct ProgramSyntax {
    std::string name;
    std::vector<OptionSyntax> options;
    std::vector<SubcommandSyntax> subcommands;
};
