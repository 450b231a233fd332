#include "Utility/InstallInspector/Log/RunLog.h"
#include "Utility/InstallInspector/Report/JsonWriter.h"

namespace {

const char* nameOf(LoggedRun::Kind kind) {
    static constexpr const char* names[] = {"unknown", "install", "uninstall"};
    return names[static_cast<std::size_t>(kind)];
}

const char* nameOf(LoggedRun::End end) {
    static constexpr const char* names[] = {"not told", "failed", "breaks off"};
    return names[static_cast<std::size_t>(end)];
}

const char* nameOf(LogLine::Level level) {
    static constexpr const char* names[] = {"text", "error", "warning", "debug"};
    return names[static_cast<std::size_t>(level)];
}

void number(JsonWriter& json, const char* name, std::size_t value) {
    json.number(name, static_cast<long>(value));
}

void writeTexts(JsonWriter& json, const char* name, const std::vector<std::string>& texts) {
    json.beginArray(name);
    for (const std::string& text : texts) {
        json.element(text);
    }
    json.endArray();
}

void write(JsonWriter& json, const LoggedFile& file) {
    json.text("path", file.path);
    json.text("outcome", nameOf(file.outcome));
    number(json, "line", file.line);
    if (!file.phase.empty()) {
        json.text("phase", file.phase);
    }
    if (!file.source.empty()) {
        json.text("source", file.source);
    }
    if (file.failures > 0) {
        number(json, "failures", file.failures);
        json.flag("allowed", file.bAllowed);
    }
    if (!file.tools.empty()) {
        writeTexts(json, "tools", file.tools);
        number(json, "toolsLeftOut", file.toolsLeftOut);
    }
}

void write(JsonWriter& json, const LoggedQuestion& question) {
    number(json, "line", question.line);
    json.text("text", question.text);
    json.text("answer", nameOf(question.answer));
}

void write(JsonWriter& json, const LoggedMessage& message) {
    number(json, "line", message.line);
    json.text("severity", nameOf(message.level));
    json.text("message", message.text);
    number(json, "count", message.count);
}

void write(JsonWriter& json, const LoggedTool& tool) {
    number(json, "line", tool.line);
    json.text("text", tool.text);
}

void write(JsonWriter& json, const KnownMessage* entry) {
    json.text("message", entry->text);
    json.text("cause", entry->cause);
    json.text("advice", entry->advice);
}

void write(JsonWriter& json, const LoggedRun& run);

template <class Entries>
void writeList(JsonWriter& json, const char* name, const Entries& entries) {
    json.beginArray(name);
    for (const auto& entry : entries) {
        json.beginObject();
        write(json, entry);
        json.endObject();
    }
    json.endArray();
}

void write(JsonWriter& json, const LoggedRun& run) {
    json.text("kind", nameOf(run.kind));
    json.text("verdict", nameOf(run.verdict()));
    number(json, "firstLine", run.firstLine);
    number(json, "lastLine", run.lastLine);
    if (!run.firstTime.empty()) {
        json.text("firstTime", run.firstTime);
        json.text("lastTime", run.lastTime);
        json.text("writer", run.writer);
    }
    json.flag("beginningMissing", run.bBeginningMissing);
    json.text("end", nameOf(run.end));
    if (!run.breakOff.empty()) {
        json.text("breakOff", run.breakOff);
    }
    json.flag("checked", run.bChecked);
    json.flag("debugLines", run.bDebugLines);
    json.flag("sharedPackage", run.bSharedPackage);
    json.flag("dialog", run.bDialog);
    writeTexts(json, "phases", run.phases);
    json.beginObject("counts");
    for (std::size_t i = 0; i < LoggedFile::outcomes; ++i) {
        const auto outcome = static_cast<LoggedFile::Outcome>(i);
        number(json, nameOf(outcome), run.count(outcome));
    }
    json.endObject();
    writeList(json, "files", run.files);
    writeList(json, "questions", run.questions);
    writeList(json, "messages", run.messages);
    writeList(json, "tools", run.tools);
    number(json, "notEmpty", run.notEmpty);
    number(json, "leftOut", run.leftOut);
    writeList(json, "advice", run.advice());
}

} // namespace

void writeJson(const RunLog& log, Output& output) {
    JsonWriter json(output);
    json.beginObject();
    json.text("log", log.file);
    json.text("verdict", nameOf(log.verdict()));
    number(json, "lines", log.lines);
    number(json, "runLines", log.runLines);
    number(json, "runsLeftOut", log.runsLeftOut);
    writeList(json, "runs", log.runs);
    json.endObject();
}
