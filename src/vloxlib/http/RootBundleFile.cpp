#include "vloxlib/http/RootBundleFile.h"

#include "vloxlib/ConfigManager.h"
#include "vloxlib/NativeCodes.h"
#include "vloxlib/encrypt/MD5.h"
#include "vloxlib/http/RootCertificates.h"
#include "vloxlib/log/vloxLog.h"
#include "vloxlib/utility/FileUtil.h"

namespace vloxlib {

int writeRootBundle(const std::string& dataDir, ConfigManager& config) {
    const std::string content = builtInRootCertificates();
    const std::string caDir = dataDir + "/certificate";
    if (FileUtil::isExist(caDir) != 0) {
        VLOX_LOG(2, "caDir is not exist");
        const int result = FileUtil::createDir(caDir);
        if (result != 0) {
            VLOX_LOG(4, "create caDir failed. result=%d", result);
            return native::kNoDirectory;
        }
    }
    const std::string caPath = caDir + "/cacert.pem";
    const std::string oldMd5 = FileUtil::isExist(caPath) == 0 ? MD5::md5File(caPath) : "";
    if (oldMd5 == MD5::md5(content)) {
        config.setConfig(CONFIG_CA_FILE_PATH, caPath);
        VLOX_LOG(2, "caMd5 match success, no need update");
        return 0;
    }
    const int result = FileUtil::writeFileContent(caPath, content);
    if (result != 0) {
        VLOX_LOG(4, "write CA content failed. result=%d", result);
        return native::kNotWritten;
    }
    config.setConfig(CONFIG_CA_FILE_PATH, caPath);
    VLOX_LOG(2, "ca update success. path=%s", caPath.c_str());
    return 0;
}

}  // namespace vloxlib
