#ifndef VLOXLIB_TASK_QOS_H
#define VLOXLIB_TASK_QOS_H

#include <vloxlib/Export.h>

namespace vloxlib {

/// @brief Delivery quality of a task: how long, and how often, it is tried.
///
/// A plain value, made by the factories or rebuilt from stored numbers by makeQos(). Times are seconds.
class VLOX_API QoS {
public:
    /// The numbers stand in the store.
    enum QoSLevel : int {
        QOS_RETRY_FOREVER = 1,       ///< Until success, across restarts too.
        QOS_RETRY_PROCESS = 2,       ///< Until success or the process's end.
        QOS_ONLY_ONCE = 3,           ///< One run, whatever its outcome.
        QOS_RETRY_UNTIL_TIMEOUT = 4  ///< Until success or the time-out.
    };

    static const int defaultNetworkTimeout = 15;
    static const int defaultServiceTimeout = 60;

    static QoS qosRetryForever();
    static QoS qosRetryProcess();
    static QoS qosOnlyOnce(int seconds);
    static QoS qosRetryUtilTimeout(int seconds);
    /// @brief Rebuilds a quality from stored numbers.
    ///
    /// The retry levels take defaultServiceTimeout whatever the parameter; an unknown level is retry for
    /// ever.
    static QoS makeQos(QoSLevel level, int parameter);

    QoSLevel getQosLevel() const { return m_level; }
    int getQosParameter() const { return m_parameter; }

private:
    QoS(QoSLevel level, int parameter) : m_parameter(parameter), m_level(level) {}

    int m_parameter;
    QoSLevel m_level;
};

}  // namespace vloxlib

#endif
