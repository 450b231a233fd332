#include "Utility/InstallInspector/Report/Output.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

Painter Painter::forFile(FILE* file) {
    const char* noColour = std::getenv("NO_COLOR");
    const bool bRefused = noColour != nullptr && *noColour != '\0';
    return Painter(!bRefused && isatty(fileno(file)) != 0);
}

std::string Painter::paint(Colour colour, const std::string& text) const {
    if (!bColours) {
        return text;
    }
    const char* code = "";
    switch (colour) {
    case Colour::Bold:
        code = "1";
        break;
    case Colour::Red:
        code = "1;31";
        break;
    case Colour::Yellow:
        code = "1;33";
        break;
    case Colour::Green:
        code = "32";
        break;
    case Colour::Dim:
        code = "2";
        break;
    }
    return std::string("\x1b[") + code + "m" + text + "\x1b[0m";
}

void Output::write(std::string_view text) {
    constexpr std::size_t enough = 65536;
    held += text;
    if (held.size() >= enough) {
        passOn();
    }
}

void Output::passOn() {
    if (error == 0 && std::fwrite(held.data(), 1, held.size(), file) != held.size()) {
        error = errno;
    }
    held.clear();
}

bool Output::finish() {
    passOn();
    if (error == 0 && std::fflush(file) != 0) {
        error = errno;
    }
    if (error != 0) {
        cannotRun(std::string("cannot write to standard output: ") + std::strerror(error));
    }
    return error == 0;
}

std::string counted(std::size_t count, const char* one, const char* more) {
    return std::to_string(count) + " " + (count == 1 ? one : more);
}

std::string joined(const std::vector<std::string>& texts, const char* between) {
    std::string text;
    for (const std::string& part : texts) {
        text += (text.empty() ? "" : between) + part;
    }
    return text;
}

std::string listed(const std::vector<std::string>& texts) {
    constexpr std::size_t most = 3;
    std::string text;
    for (std::size_t i = 0; i < texts.size() && i < most; ++i) {
        text += (i == 0 ? "" : ", ") + texts[i];
    }
    return texts.size() > most ? text + " and " + std::to_string(texts.size() - most) + " more" : text;
}

std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, widthOf(text)), ' ');
}

bool writeOutput(const std::string& text) {
    Output output;
    output.write(text);
    return output.finish();
}

int cannotRun(const std::string& message) {
    static_cast<void>(std::fprintf(stderr, "InstallInspector: %s\n", message.c_str()));
    return CannotRun;
}
