#include "vloxlib/task/BaseTask.h"

#include <ctime>
#include <utility>

#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

BaseTask::BaseTask()
    : BaseTask(std::string(), TASK_TYPE_FILE, QoS::qosOnlyOnce(QoS::defaultNetworkTimeout),
               TASK_PRIORITY_DEFAULT) {}

BaseTask::BaseTask(const std::string& id, TaskType type, const QoS& qos, TaskPriority priority)
    : m_taskId(id), m_type(type), m_qos(qos), m_priority(priority), m_createTime(std::time(nullptr)) {}

void BaseTask::setTaskIds(std::vector<std::string> taskIds) { m_taskIds = std::move(taskIds); }

bool BaseTask::isQosAchieved() const {
    const bool succeeded =
        m_lastResult == TASK_RESULT_SUCCESS || m_lastResult == TASK_RESULT_SUCCESS_ALTERNATE;
    const int64 now = std::time(nullptr);
    switch (m_qos.getQosLevel()) {
        case QoS::QOS_RETRY_FOREVER:
        case QoS::QOS_RETRY_PROCESS:
            return succeeded;
        case QoS::QOS_ONLY_ONCE:
            return succeeded || m_executeCount > 0;
        // The age compared with the limit, turned round so that no stored create time can overflow.
        case QoS::QOS_RETRY_UNTIL_TIMEOUT:
            return succeeded || m_createTime < now - m_qos.getQosParameter();
    }
    VLOX_LOG(3, "unknow qos level. taskId=%s", m_taskId.c_str());
    return true;
}

std::string& BaseTask::toString(std::string& out) const {
    out = "taskId:" + m_taskId;
    out += ",taskType:" + std::to_string(m_type);
    out += ",qos:" + std::to_string(m_qos.getQosLevel());
    out += ",qos_param:" + std::to_string(m_qos.getQosParameter());
    out += ",priority:" + std::to_string(m_priority);
    out += ",data:" + m_data;
    out += ",createTime:" + std::to_string(m_createTime);
    out += ",status:" + std::to_string(m_status);
    return out;
}

}  // namespace vloxlib
