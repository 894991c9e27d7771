#include "vloxlib/encrypt/EncryptFactory.h"

#include "vloxlib/encrypt/ASymNoEncryptStrategy.h"
#include "vloxlib/encrypt/Aes128CBCStrategy.h"
#include "vloxlib/encrypt/QCLSm2Strategy.h"
#include "vloxlib/encrypt/QCLSm9Strategy.h"
#include "vloxlib/encrypt/Sm4Strategy.h"
#include "vloxlib/encrypt/SymNoEncryptStrategy.h"
#include "vloxlib/log/vloxLog.h"

namespace vloxlib {

std::shared_ptr<QCLAsymStrategy> EncryptFactory::createAsymStrategy(ASYM_ENCRYPT_TYPE type) {
    switch (type) {
        case ASYM_NONE:
            return std::make_shared<ASymNoEncryptStrategy>();
        case ASYM_SM2:
            return std::make_shared<QCLSm2Strategy>();
        case ASYM_SM9:
            return std::make_shared<QCLSm9Strategy>();
        default:
            VLOX_LOG(4, "config error. asym strategy:%d", static_cast<int>(type));
            return std::make_shared<QCLSm9Strategy>();
    }
}

std::shared_ptr<SymEncryptStrategy> EncryptFactory::createSymStrategy(SYM_ENCRYPT_TYPE type) {
    switch (type) {
        case SYM_NONE:
            return std::make_shared<SymNoEncryptStrategy>();
        case SYM_AES128_CBC:
            return std::make_shared<Aes128CBCStrategy>();
        case SYM_SM4:
            return std::make_shared<Sm4Strategy>();
        default:
            VLOX_LOG(4, "config error. sym strategy:%d", static_cast<int>(type));
            return std::make_shared<Aes128CBCStrategy>();
    }
}

}  // namespace vloxlib
