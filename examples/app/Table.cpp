#include "Table.h"

#include <common/Json.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>

namespace app {

using common::JsonObject;

namespace {

constexpr int kFirstColumn = 24;

void row(std::ostream& out, const std::string& name, const std::string& value) {
    out << std::left << std::setw(kFirstColumn) << name << value << '\n';
}

void row(std::ostream& out, const std::string& name, long long value, const std::string& remark = "") {
    row(out, name, std::to_string(value) + remark);
}

std::string milliseconds(const rapidjson::Value& stage, const char* name) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << static_cast<double>(stage[name].GetInt64()) / 1000 << " ms";
    return text.str();
}

void printStages(std::ostream& out, const rapidjson::Value& stages) {
    out << std::left << std::setw(kFirstColumn) << "time per stage" << std::right << std::setw(8) << "count"
        << std::setw(14) << "median" << std::setw(14) << "99th" << '\n';
    for (const auto& stage : stages.GetObject()) {
        out << std::left << std::setw(kFirstColumn) << std::string("  ") + stage.name.GetString()
            << std::right << std::setw(8) << stage.value["count"].GetInt64() << std::setw(14)
            << milliseconds(stage.value, "medianMicroseconds") << std::setw(14)
            << milliseconds(stage.value, "p99Microseconds") << '\n';
    }
}

void printFailures(std::ostream& out, const Figures& figures, const rapidjson::Value& requests) {
    if (requests.ObjectEmpty() && figures.failedResults.empty()) {
        row(out, "failures by code", "none");
        return;
    }
    for (const auto& failure : requests.GetObject()) {
        row(out, "failures by code",
            std::string(failure.name.GetString()) + ": " + std::to_string(failure.value.GetInt64()) +
                " requests");
    }
    for (const auto& [code, count] : figures.failedResults) {
        const bool interrupted = code == MESSAGES_CODE_INTERRUPTED;
        row(out, "failures by code",
            std::to_string(code) + ": " + std::to_string(count) + " results" +
                (interrupted ? " (not to outlive the process that stored them)" : ""));
    }
}

// The log's name carries the date.
std::string logFile(const std::string& directory) {
    std::string newest;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::u8path(directory))) {
        const std::string name = entry.path().filename().u8string();
        if (name.rfind("windows_sdk", 0) == 0 && entry.path().u8string() > newest) {
            newest = entry.path().u8string();
        }
    }
    return newest.empty() ? "none" : newest;
}

}  // namespace

void printTable(std::ostream& out, const Figures& figures, const Journal& journal, const Options& options) {
    const rapidjson::Document report = common::parseJson(figures.report);
    out << '\n';
    row(out, "tasks stored", figures.stored);
    row(out, "  stored before", figures.known);
    row(out, "  left by earlier runs", figures.leftBehind);
    row(out, "  refused by the store", figures.refused);
    row(out, "lines skipped", figures.skipped);
    row(out, "requests", report["requests"].GetInt64());
    row(out, "results delivered", figures.delivered,
        " (" + std::to_string(journal.results().size()) + " in all runs)");
    row(out, "  delivered twice", figures.twice);
    printFailures(out, figures, report["failures"]);
    printStages(out, report["stages"]);
    row(out, "store", report["store"].GetString());
    row(out, "log", logFile(options.directory));
    row(out, "results", journal.path());
}

void writeSummary(const Figures& figures, const Journal& journal, const Options& options) {
    const rapidjson::Document report = common::parseJson(figures.report);
    std::ofstream(std::filesystem::u8path(options.summary))
        << JsonObject()
               .add("stored", figures.stored)
               .add("known", figures.known)
               .add("leftBehind", figures.leftBehind)
               .add("skipped", figures.skipped)
               .add("delivered", figures.delivered)
               .add("twice", figures.twice)
               .add("allResults", static_cast<long long>(journal.results().size()))
               .add("report", report)
               .text()
        << std::endl;
}

}  // namespace app
