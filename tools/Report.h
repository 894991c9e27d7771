#ifndef TOOLS_REPORT_H
#define TOOLS_REPORT_H

#include <iosfwd>
#include <string>
#include <vector>

namespace inspect {

class QuietFile;

/// One table of what a file holds. Columns whose name ends in "#" hold whole numbers; the sign is not shown.
struct Section {
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
};

using Report = std::vector<Section>;

/// Tasks by status and priority, the head of the queue, results waiting, sequence numbers, keys.
Report reportOnStore(const QuietFile& file);
/// Domains and their addresses with their counts, and which address would be chosen now.
Report reportOnDns(const QuietFile& file);

void printColumns(const Report& report, std::ostream& out);
/// One JSON object: each section's name with its rows as a list of objects.
void printJson(const Report& report, std::ostream& out);

}  // namespace inspect

#endif
