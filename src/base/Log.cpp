// SPDX-License-Identifier: MIT
#include "base/Log.h"

#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <unistd.h>

namespace velbase2::system::log {
namespace {

int syslogPriority(int level) noexcept
{
    switch (level) {
    case kNotable:
        return 6;
    case kError:
        return 3;
    case kFileProblem:
        return 4;
    default:
        return 7;
    }
}

void appendEscaped(std::string& record, std::string_view line)
{
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    for (const char character : line) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            record += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            record += "\\x";
            record += kHexDigits[byte >> 4U];
            record += kHexDigits[byte & 0xFU];
        } else {
            record += character;
        }
    }
}

void writeToStandardError(int level, std::string_view tag, std::string_view line)
{
    std::string record = '<' + std::to_string(syslogPriority(level)) + '>';
    record.append(tag).append(": ");
    appendEscaped(record, line);
    record += '\n';
    while (::write(STDERR_FILENO, record.data(), record.size()) < 0 && errno == EINTR) {
    }
}

struct Logger
{
    std::atomic<int> minimumLevel{kNotable};
    std::mutex sinkLock;
    std::shared_ptr<const Sink> sink = std::make_shared<const Sink>(writeToStandardError);
};

Logger& logger()
{
    // The logger is never destroyed, because other threads and static destructors of the host may log until the end.
    static Logger& instance = *new Logger; // NOLINT(cppcoreguidelines-*)
    return instance;
}

} // namespace

void setMinimumLevel(int level)
{
    logger().minimumLevel = level;
}

void setSink(Sink sink)
{
    auto next = std::make_shared<const Sink>(sink ? std::move(sink) : Sink(writeToStandardError));
    const std::lock_guard lock(logger().sinkLock);
    logger().sink.swap(next);
    // The previous sink is destroyed after the lock is released, because its destructor may log.
}

namespace detail {

bool isEnabled(int level) noexcept
{
    return level >= logger().minimumLevel.load(std::memory_order_relaxed);
}

void log(int level, std::string_view tag, std::string_view line)
{
    // The sink is called without the lock. A sink that stalls must stall only its own caller.
    std::shared_ptr<const Sink> sink;
    {
        const std::lock_guard lock(logger().sinkLock);
        sink = logger().sink;
    }
    (*sink)(level, tag, line);
}

} // namespace detail
} // namespace velbase2::system::log
