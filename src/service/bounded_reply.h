#pragma once

#include <thrift/TConfiguration.h>
#include <thrift/protocol/TProtocol.h>
#include <thrift/transport/TTransport.h>

#include <cstdint>
#include <memory>

namespace CorvelService {

// What one reply from the service may hold. A legitimate reply (tens of thousands of jobs, restore
// points or disks) stays far below each; a corrupt or hostile one fails its read instead.
struct ReplyLimits {
    // Bytes of one string (a job description is the longest the service sends).
    int32_t stringBytes = 32 * 1024 * 1024;
    // Elements of one list, set or map. The largest record the console reads (a job) takes about
    // 700 bytes in memory, so a full list of empty records costs some 35 MB at most.
    int32_t containerElements = 50000;
    // Bytes of one whole message.
    int32_t messageBytes = 64 * 1024 * 1024;
    // Records inside records, skipped unknown fields included.
    int32_t nestingDepth = 16;
};

// The protocol stack of a service client over an opened or openable socket: a buffered transport
// with the library's default sizes, the binary protocol (strict reading off, strict writing on),
// and on top a guard that admits the size a string or container announces only once the
// announced minimum of bytes has actually arrived. Memory for a reply is therefore never claimed
// ahead of the bytes that justify it; a peer that announces more than it sends fails with
// end-of-file when it closes, having cost only what it sent.
std::shared_ptr<apache::thrift::protocol::TProtocol>
makeBoundedProtocol(std::shared_ptr<apache::thrift::transport::TTransport> socket, const ReplyLimits& limits = {});

// The library configuration matching limits (message and frame size, recursion depth).
std::shared_ptr<apache::thrift::TConfiguration> replyConfiguration(const ReplyLimits& limits = {});

} // namespace CorvelService
