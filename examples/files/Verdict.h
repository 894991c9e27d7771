#ifndef FILES_VERDICT_H
#define FILES_VERDICT_H

#include "FileService.h"
#include "Outcome.h"
#include "Transfers.h"

namespace files {

// What the platform's file services say; positive codes reach a module as they are.
constexpr int kPlatformChunksMissing = 15002;
constexpr int kPlatformOtherDigest = 15003;

/// What a failure means for the task: an answer of the platform is its end, asking again would bring the
/// same; what got no answer may get one later.
inline Outcome judge(const FileService::Reply& reply, const Transfers& transfers) {
    if (transfers.stopped()) {
        return {Outcome::STOPPED, reply.code, ""};
    }
    const bool answered = reply.data.IsObject() && reply.data.HasMember("code");
    return {answered ? Outcome::DONE : Outcome::AGAIN, reply.code,
            answered ? common::toText(reply.data) : ""};
}

}  // namespace files

#endif
