#ifndef APP_TABLE_H
#define APP_TABLE_H

#include <ostream>

#include "Journal.h"
#include "Messenger.h"
#include "Options.h"

namespace app {

void printTable(std::ostream& out, const Figures& figures, const Journal& journal, const Options& options);
/// The same as one JSON object, for other programs.
void writeSummary(const Figures& figures, const Journal& journal, const Options& options);

}  // namespace app

#endif
