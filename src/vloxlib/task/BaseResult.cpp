#include "vloxlib/task/BaseResult.h"

#include <ctime>

namespace vloxlib {

BaseResult::BaseResult() : m_completeTime(std::time(nullptr)) {}

BaseResult::BaseResult(const std::string& id, ResultType type, const std::string& data, int returnCode,
                       ResultStatus status)
    : m_resultId(id),
      m_type(type),
      m_data(data),
      m_returnCode(returnCode),
      m_status(status),
      m_completeTime(std::time(nullptr)) {}

std::string& BaseResult::toString(std::string& out) const {
    out = "resultId:" + m_resultId;
    out += ",type:" + std::to_string(m_type);
    out += ",data:" + m_data;
    out += ",returnCode:";
    out += static_cast<char>(m_returnCode);
    out += ",status:" + std::to_string(m_status);
    out += ",completeTime:" + std::to_string(m_completeTime);
    return out;
}

}  // namespace vloxlib
