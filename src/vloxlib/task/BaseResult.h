#ifndef VLOXLIB_TASK_BASERESULT_H
#define VLOXLIB_TASK_BASERESULT_H

#include <vloxlib/Export.h>
#include <vloxlib/Types.h>
#include <vloxlib/task/TaskTypes.h>
#include <string>

namespace vloxlib {

/// @brief What came of a task: the store keeps it until its consumer has taken and removed it.
///
/// A plain copyable value. Threads: none of its own; each copy belongs to its holder.
class VLOX_API BaseResult {
public:
    BaseResult();
    /// The complete time is now; the store writes its own clock's instead.
    BaseResult(const std::string& id, ResultType type, const std::string& data, int returnCode,
               ResultStatus status);

    const std::string& getResultId() const { return m_resultId; }  ///< The id of the task that it answers.
    ResultType getType() const { return m_type; }
    const std::string& getData() const { return m_data; }
    void setData(const std::string& data) { m_data = data; }
    int getReturnCode() const { return m_returnCode; }
    ResultStatus getStatus() const { return m_status; }
    int64 getCompleteTime() const { return m_completeTime; }  ///< Unix seconds.

    /// @brief Replaces @p out by one line of text about the result. @return out
    /// @note The return code stands there as one character, its low byte.
    std::string& toString(std::string& out) const;

private:
    friend class Sqlite3Functions;  // fills a record column by column

    std::string m_resultId;
    ResultType m_type = RESULT_TYPE_FILE;
    std::string m_data;
    int m_returnCode = 0;
    ResultStatus m_status = RESULT_STATUS_STORED;
    int64 m_completeTime;
};

}  // namespace vloxlib

#endif
