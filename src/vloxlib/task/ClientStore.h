#ifndef VLOXLIB_TASK_CLIENTSTORE_H
#define VLOXLIB_TASK_CLIENTSTORE_H

#include <string>

#include "vloxlib/Context.h"
#include "vloxlib/database/Sqlite3Functions.h"

namespace vloxlib {

// The store of that name in the process's data directory; both dispatchers of a client share it.
inline Sqlite3Functions* clientStore(const std::string& name) {
    const std::string directory = Context::getInstance()->getContext(CONTEXT_DATA_DIR, std::string("./"));
    return Sqlite3Functions::getSqliteInstance(directory.c_str(), name);
}

}  // namespace vloxlib

#endif
