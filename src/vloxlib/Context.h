#ifndef VLOXLIB_CONTEXT_H
#define VLOXLIB_CONTEXT_H

#include <vloxlib/Export.h>
#include <vloxlib/Noncopyable.h>
#include <vloxlib/thread/Windows/WindowsMutex.h>
#include <map>
#include <string>

namespace vloxlib {

/// @brief Keys of the facts that belong to no client. Those without a name are agreed between application and
/// modules.
enum ContextKey : int {
    CONTEXT_DEVICE_TYPE = 0,  ///< 0 to 7; the meaning of each is the application's.
    CONTEXT_RESERVED_1 = 1,
    CONTEXT_DEVICE_ID = 2,
    CONTEXT_OS_NAME = 3,  ///< The operating system's product name, may be empty.
    CONTEXT_RESERVED_4 = 4,
    CONTEXT_RESERVED_5 = 5,
    CONTEXT_RESERVED_6 = 6,
    CONTEXT_DATA_DIR = 9,
    CONTEXT_LOG_DIR = 11,  ///< Absent when the library runs without a logger.
    CONTEXT_KEY_END = 13   ///< End mark: this and higher keys are ignored on writing.
};

/// @brief The process's one table of facts that belong to no client, filled by initialize().
///
/// Values are held as text, as in ConfigManager. Life: never destroyed.
/// Threads: any. Errors: none are reported; an absent key gives the caller's default.
class VLOX_API Context : public Noncopyable {
public:
    static Context* getInstance();
    ~Context() override;

    void setContext(ContextKey key, const std::string& value);
    void setContext(ContextKey key, int value);
    /// @return the number at the start of the key's text (0 when it begins otherwise), the default for an
    /// absent key
    int getContext(ContextKey key, const int& defaultValue) const;
    std::string getContext(ContextKey key, const std::string& defaultValue) const;

private:
    Context();

    std::map<ContextKey, std::string> m_table;  // guarded by m_mutex
    WindowsMutex m_mutex;
};

}  // namespace vloxlib

#endif
