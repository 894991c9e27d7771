#ifndef TESTS_SUPPORT_DATADIR_H
#define TESTS_SUPPORT_DATADIR_H

#include <string>

#include "support/TempDir.h"
#include "vloxlib/Context.h"

namespace vlox_test {

/// Gives the process a data directory of the test's own; to be declared ahead of what reads it.
class DataDir {
public:
    DataDir() { vloxlib::Context::getInstance()->setContext(vloxlib::CONTEXT_DATA_DIR, m_dir.path()); }
    std::string path() const { return m_dir.path(); }

private:
    TempDir m_dir;
};

}  // namespace vlox_test

#endif
