// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <iosfwd>
#include <list>
#include <map>
#include <string>
#include <variant>

namespace vel_systemd::configuration::file {

/// One bracketed section of a unit file.
struct Section
{
    std::string name;
    std::map<std::string, std::string> entries;
};

bool operator==(const Section& left, const Section& right);
inline bool operator!=(const Section& left, const Section& right)
{
    return !(left == right);
}

/// The sections of a unit file in the order of the file. Sections of the same name stay separate. Comparison with ==
/// includes the order.
using Content = std::list<Section>;

/// Refers to a Content for the stream operators. The Content must outlive the converter. A const Content can only be
/// written.
class FileConverter
{
public:
    // Implicit, so that a Content can be used in a stream expression.
    FileConverter(Content& content) : content_(std::ref(content)) {}        // NOLINT(google-explicit-constructor)
    FileConverter(const Content& content) : content_(std::cref(content)) {} // NOLINT(google-explicit-constructor)

private:
    friend std::istream& operator>>(std::istream& input, FileConverter converter);
    friend std::ostream& operator<<(std::ostream& output, const FileConverter& converter);

    std::variant<std::reference_wrapper<Content>, std::reference_wrapper<const Content>> content_;
};

/// Appends the sections of the rest of the stream to the converter's Content.
///
/// The rules are simpler than systemd's. Nothing is trimmed. A line without "=" is both key and value. Of equal keys,
/// the first counts. Lines before the first header and sections without entries are dropped. A stream that is not good
/// or fails before its end leaves the Content unchanged. For a const Content, throws std::bad_variant_access and reads
/// nothing.
std::istream& operator>>(std::istream& input, FileConverter converter);

/// Writes the Content with sorted keys. Skips sections without a name and entries without a key.
std::ostream& operator<<(std::ostream& output, const FileConverter& converter);

} // namespace vel_systemd::configuration::file
