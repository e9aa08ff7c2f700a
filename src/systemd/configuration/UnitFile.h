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

/// A unit file: its sections in the order of reading. Two of the same name stay two. Comparable with ==, order counts.
using Content = std::list<Section>;

/// Refers to a Content for the stream operators; it must outlive the converter. A const one serves only for output.
class FileConverter
{
public:
    // Implicit, so that a Content may stand in a stream expression.
    FileConverter(Content& content) : content_(std::ref(content)) {}        // NOLINT(google-explicit-constructor)
    FileConverter(const Content& content) : content_(std::cref(content)) {} // NOLINT(google-explicit-constructor)

private:
    friend std::istream& operator>>(std::istream& input, FileConverter converter);
    friend std::ostream& operator<<(std::ostream& output, const FileConverter& converter);

    std::variant<std::reference_wrapper<Content>, std::reference_wrapper<const Content>> content_;
};

/// Appends the sections of the rest of the stream to the converter's Content.
///
/// The rules are simpler than systemd's: nothing is trimmed, a line without "=" is both key and value, the first of
/// equal keys wins, what stands before the first header and sections without entries are dropped. A stream that is not
/// good or fails before its end leaves the Content alone. Throws std::bad_variant_access, and reads nothing, when the
/// Content is const.
std::istream& operator>>(std::istream& input, FileConverter converter);

/// Writes the Content, keys in order. Skips sections without name and entries without key.
std::ostream& operator<<(std::ostream& output, const FileConverter& converter);

} // namespace vel_systemd::configuration::file
