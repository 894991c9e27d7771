#include "win32/VloxModuleAbstract.h"

namespace vloxlib {

VloxModuleAbstract::~VloxModuleAbstract() = default;

}  // namespace vloxlib
