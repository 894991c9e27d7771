#include "Report.h"

#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace inspect {

namespace {

bool isNumber(const std::string& column) { return column.back() == '#'; }

std::string shown(const std::string& column) {
    return isNumber(column) ? column.substr(0, column.size() - 1) : column;
}

// A name as programs like it: "oldest (s)" becomes "oldest_s".
std::string keyOf(const std::string& name) {
    std::string key;
    for (const char c : shown(name)) {
        if (c == ' ') {
            key += '_';
        } else if (c != '(' && c != ')') {
            key += c;
        }
    }
    return key;
}

// Columns are counted in code points, which is right for all but the widest scripts.
std::size_t width(const std::string& text) {
    const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
    return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continues));
}

// Names and ids come from outside: nothing of them may move the cursor.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; },
        '?');
    return text;
}

void printRow(const std::vector<std::string>& cells, const Section& section,
              const std::vector<std::size_t>& widths, std::ostream& out) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string padding(widths[i] - width(cells[i]), ' ');
        line += "  " + (isNumber(section.columns[i]) ? padding + cells[i] : cells[i] + padding);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

}  // namespace

void printColumns(const Report& report, std::ostream& out) {
    for (const Section& section : report) {
        out << section.name << '\n';
        std::vector<std::vector<std::string>> lines(1);
        for (const std::string& column : section.columns) {
            lines.front().push_back(shown(column));
        }
        for (const auto& row : section.rows) {
            auto& line = lines.emplace_back();
            std::transform(row.begin(), row.end(), std::back_inserter(line), printable);
        }
        std::vector<std::size_t> widths(section.columns.size(), 0);
        for (const auto& line : lines) {
            for (std::size_t i = 0; i < line.size(); ++i) {
                widths[i] = std::max(widths[i], width(line[i]));
            }
        }
        if (section.rows.empty()) {
            out << "  none\n";
            continue;
        }
        for (const auto& line : lines) {
            printRow(line, section, widths, out);
        }
    }
}

void printJson(const Report& report, std::ostream& out) {
    rapidjson::OStreamWrapper stream(out);
    rapidjson::PrettyWriter<rapidjson::OStreamWrapper> writer(stream);
    writer.StartObject();
    for (const Section& section : report) {
        writer.Key(keyOf(section.name).c_str());
        writer.StartArray();
        for (const auto& row : section.rows) {
            writer.StartObject();
            for (std::size_t i = 0; i < row.size(); ++i) {
                writer.Key(keyOf(section.columns[i]).c_str());
                if (isNumber(section.columns[i]) && !row[i].empty()) {
                    writer.RawValue(row[i].c_str(), row[i].size(), rapidjson::kNumberType);
                } else {
                    writer.String(row[i].c_str(), static_cast<rapidjson::SizeType>(row[i].size()));
                }
            }
            writer.EndObject();
        }
        writer.EndArray();
    }
    writer.EndObject();
    out << '\n';
}

}  // namespace inspect
