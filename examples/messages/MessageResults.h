#ifndef MESSAGES_MESSAGERESULTS_H
#define MESSAGES_MESSAGERESULTS_H

#include <vloxlib/task/ResultDispatcher.h>

#include <string>

#include "Messages.h"
#include "Report.h"

namespace messages {

/// The thread that hands results to the application, oldest first, and removes those that it has taken.
class MessageResults : public vloxlib::ResultDispatcher {
public:
    MessageResults(const std::string& storeName, Report& report, MessagesListener listener, void* context);

private:
    void run() override;
    bool deliverPending();

    Report& m_report;
    const MessagesListener m_listener;
    void* const m_context;
};

}  // namespace messages

#endif
