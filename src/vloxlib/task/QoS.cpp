#include "vloxlib/task/QoS.h"

namespace vloxlib {

const int QoS::defaultNetworkTimeout;
const int QoS::defaultServiceTimeout;

QoS QoS::qosRetryForever() { return {QOS_RETRY_FOREVER, defaultServiceTimeout}; }

QoS QoS::qosRetryProcess() { return {QOS_RETRY_PROCESS, defaultServiceTimeout}; }

QoS QoS::qosOnlyOnce(int seconds) { return {QOS_ONLY_ONCE, seconds}; }

QoS QoS::qosRetryUtilTimeout(int seconds) { return {QOS_RETRY_UNTIL_TIMEOUT, seconds}; }

QoS QoS::makeQos(QoSLevel level, int parameter) {
    switch (level) {
        case QOS_RETRY_PROCESS:
            return qosRetryProcess();
        case QOS_ONLY_ONCE:
            return qosOnlyOnce(parameter);
        case QOS_RETRY_UNTIL_TIMEOUT:
            return qosRetryUtilTimeout(parameter);
        default:
            return qosRetryForever();
    }
}

}  // namespace vloxlib
