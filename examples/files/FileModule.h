#ifndef FILES_FILEMODULE_H
#define FILES_FILEMODULE_H

#include <rapidjson/document.h>
#include <win32/VloxModuleAbstract.h>

#include <memory>
#include <string>

#include "FileQueue.h"
#include "FileResults.h"
#include "FileWorker.h"
#include "Files.h"

namespace files {

/// The number under which commands reach this module; application and modules agree on it.
constexpr int kFilesTarget = 2;

/// Ties queue, worker and results to one client, from its registration to its unregistration.
/// Threads: the library makes all calls one at a time.
class FileModule : public vloxlib::VloxModuleAbstract {
public:
    FileModule(std::string storeName, int parallel, FilesListener listener, void* context);

    void onModuleRegistered(__int64 clientId) override;
    void onModuleUnregistered() override;
    bool acceptsCommand(int target) override { return target == kFilesTarget; }
    void onSdkEventCmd(int, const std::string&, int, const std::string&) override {}
    void onNotificationCmd(int, int, const std::string&) override {}
    void onBusinessCmd(int target, int command, const std::string& json) override;

private:
    void start(const rapidjson::Value& request);
    void send(const rapidjson::Value& request);
    void fetch(const rapidjson::Value& request);
    void accept(FileTask& wish);
    bool tell(int event, const std::string& json) { return m_listener(m_context, event, json.c_str()); }

    const std::string m_storeName;
    const int m_parallel;
    const FilesListener m_listener;
    void* const m_context;

    std::unique_ptr<FileQueue> m_queue;
    std::unique_ptr<FileResults> m_results;
    std::unique_ptr<FileWorker> m_worker;
};

}  // namespace files

#endif
