#include "vloxlib/dnscache/DnsCacheManager.h"

#include <Poco/Path.h>

#include <ctime>

#include "vloxlib/dnscache/DNSCacheLog.h"
#include "vloxlib/dnscache/DnsCacheFile.h"
#include "vloxlib/dnscache/DomainModel.h"
#include "vloxlib/dnscache/IpModel.h"

namespace vloxlib {

namespace {

template <class... Values>
void log(DNSCache_TRACE_LEVELS level, const char* format, Values... values) {
    DNSCacheLog::getInstance()->log(level, "DnsCacheManager", format, values...);
}

// A stored address takes what the answer says and keeps its id and its statistics.
void refresh(IpModel& stored, const IpModel& answered) {
    stored.domain = answered.domain;
    stored.port = answered.port;
    stored.expireTime = answered.expireTime;
    stored.sp = answered.sp;
    stored.priority = answered.priority;
}

}  // namespace

DnsCacheManager::DnsCacheManager() : m_file(std::make_unique<DnsCacheFile>()) {}

DnsCacheManager::~DnsCacheManager() = default;

bool DnsCacheManager::init(const std::string& directory) {
    const Poco::Mutex::ScopedLock lock(m_mutex);
    const std::string path = Poco::Path(directory).append("vloxDomain.db").toString();
    m_file = std::make_unique<DnsCacheFile>();
    if (!m_file->open(path)) {
        log(DNSCACHE_TRACE_ERROR, "sqlite3_open_v2 error.");
        log(DNSCACHE_TRACE_ERROR, "createDB error.");
        return false;
    }
    if (!m_file->createTables()) {
        log(DNSCACHE_TRACE_ERROR, "createTables error.");
        return false;
    }
    return true;
}

std::shared_ptr<DomainModel> DnsCacheManager::getDnsCache(const std::string& sp, const std::string& domain,
                                                          bool withIps) {
    const Poco::Mutex::ScopedLock lock(m_mutex);
    m_file->begin();
    std::shared_ptr<DomainModel> model;
    if (!readDomain(sp, domain, model)) {
        return nullptr;
    }
    if (model && withIps) {
        readIps("", sp, domain, model->ipModels);
    }
    m_file->commit();
    return model;
}

bool DnsCacheManager::readDomain(const std::string& sp, const std::string& domain,
                                 std::shared_ptr<DomainModel>& model) {
    const bool prepared = m_file->readDomain(sp, domain, model);
    if (!prepared) {
        log(DNSCACHE_TRACE_ERROR, "sqlite3_prepare_v2 error sp = %s domain = %s.", sp.c_str(),
            domain.c_str());
    }
    return prepared;
}

void DnsCacheManager::readIps(const std::string& ip, const std::string& sp, const std::string& domain,
                              std::list<std::shared_ptr<IpModel>>& list) {
    if (domain.empty()) {
        log(DNSCACHE_TRACE_ERROR, "param is null.");
    } else if (!m_file->readIps(ip, sp, domain, list)) {
        log(DNSCACHE_TRACE_ERROR, "sqlite3_prepare_v2 error. ip=%s, sp=%s, domain=%s", ip.c_str(), sp.c_str(),
            domain.c_str());
    }
}

bool DnsCacheManager::replaceDnsCache(std::shared_ptr<DomainModel> model) {
    const Poco::Mutex::ScopedLock lock(m_mutex);
    if (!model) {
        return false;
    }
    m_file->begin();
    std::shared_ptr<DomainModel> known;
    readDomain(model->sp, model->domain, known);
    // A known domain keeps the times of its first insertion.
    if (!known) {
        m_file->insertDomain(*model);
    }
    for (const auto& ipModel : model->ipModels) {
        // A failure leaves the transaction open: the next operation's commit ends it.
        if (!storeIp(*ipModel)) {
            return false;
        }
    }
    m_file->commit();
    return true;
}

bool DnsCacheManager::storeIp(const IpModel& model) {
    std::list<std::shared_ptr<IpModel>> stored;
    readIps(model.ip, model.sp, model.domain, stored);
    if (stored.empty()) {
        const bool inserted = m_file->insertIp(model);
        if (!inserted) {
            log(DNSCACHE_TRACE_ERROR, "insertIpModel error.");
        }
        return inserted;
    }
    refresh(*stored.front(), model);
    const bool updated = m_file->updateIp(*stored.front());
    if (!updated) {
        log(DNSCACHE_TRACE_ERROR, "updateIpModel error.");
    }
    return updated;
}

int DnsCacheManager::clear() {
    const Poco::Mutex::ScopedLock lock(m_mutex);
    m_file->begin();
    const int deleted = m_file->deleteAll();
    return deleted == SQLITE_DONE ? m_file->commit() : deleted;
}

void DnsCacheManager::setDomainSuccess(const std::string& domain, const std::string& ip) {
    updateDomainRecord(domain, ip, true);
}

void DnsCacheManager::setAddressFailure(const std::string& domain, const std::string& ip) {
    updateDomainRecord(domain, ip, false);
}

void DnsCacheManager::updateDomainRecord(const std::string& domain, const std::string& ip, bool success) {
    const Poco::Mutex::ScopedLock lock(m_mutex);
    if (domain.empty() || ip.empty()) {
        log(DNSCACHE_TRACE_WARNING, "param is null");
        return;
    }
    const auto model = getDnsCache("", domain, true);
    if (!model) {
        log(DNSCACHE_TRACE_INFORMATION, "The data does not exist in the db.");
        return;
    }
    for (const auto& ipModel : model->ipModels) {
        if (ipModel->ip != ip || ipModel->domain != domain) {
            continue;
        }
        ++(success ? ipModel->successNum : ipModel->errNum);
        (success ? ipModel->finallySuccessTime : ipModel->finallyFailTime) = std::time(nullptr);
        if (!m_file->updateIp(*ipModel)) {
            log(DNSCACHE_TRACE_ERROR, "updateDomainRecord error.");
        }
    }
}

void DnsCacheManager::deleteDomain(const std::string& domain) {
    const Poco::Mutex::ScopedLock lock(m_mutex);
    m_file->begin();
    bool deleted = m_file->deleteDomain(domain);
    if (deleted && !m_file->deleteIps(domain)) {
        log(DNSCACHE_TRACE_ERROR, "sqlite3_step error.");
        deleted = false;
    }
    if (deleted) {
        m_file->commit();
    } else {
        m_file->rollback();
    }
}

void DnsCacheManager::setDomainFailure(const std::string& domain, const std::string&, int) {
    deleteDomain(domain);
}

}  // namespace vloxlib
