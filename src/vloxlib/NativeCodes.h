#ifndef VLOXLIB_NATIVECODES_H
#define VLOXLIB_NATIVECODES_H

/// The library's own result codes that stand for one thing each. 0 is success.
namespace vloxlib::native {

constexpr int kNoZone = -104;  ///< a reply names another zone, but not in full
constexpr int kNotWritten = -105;
constexpr int kCancelled = -109;
constexpr int kNoDirectory = -110;
constexpr int kNoJson = -112;
constexpr int kNoCode = -116;  ///< JSON that lacks the code it should have
constexpr int kUnknown = -199;
constexpr int kInvalidArgument = -201;
constexpr int kMalformedUrl = -803;
constexpr int kProxyNotResolved = -805;
constexpr int kNotResolved = -806;
constexpr int kNotConnected = -807;
constexpr int kAccessDenied = -809;
constexpr int kWriteFailed = -823;
constexpr int kReadFailed = -826;
constexpr int kTimedOut = -828;
constexpr int kOtherZone = -829;  ///< the services' 10016: the account lives in another zone

constexpr int kUnknownKey = -1010;

}  // namespace vloxlib::native

#endif
