#ifndef VLOXLIB_ENCRYPT_ENCRYPTTYPES_H
#define VLOXLIB_ENCRYPT_ENCRYPTTYPES_H

namespace vloxlib {

/// How the session key travels; the numbers go over the wire as `asymAlg`. Any int may be configured.
enum ASYM_ENCRYPT_TYPE : int { ASYM_NONE = 0, ASYM_SM2 = 2, ASYM_SM9 = 4 };

/// How content is encrypted; the numbers go over the wire as `symAlg`. Any int may be configured.
enum SYM_ENCRYPT_TYPE : int { SYM_NONE = 0, SYM_AES128_CBC = 1, SYM_SM4 = 2 };

}  // namespace vloxlib

#endif
