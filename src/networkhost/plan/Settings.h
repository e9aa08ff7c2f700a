// SPDX-License-Identifier: MIT
#pragma once

#include "../device/IDevice.h"
#include "../device/IFiles.h"
#include "Plan.h"

#include <string>
#include <vector>

/// All that is configured as one document, to keep, compare and give to another device. Its form, in JSON:
/// docs/settings.schema.json. No exceptions but std::bad_alloc.
namespace networkhost {

/// The document of what is configured. A setting for which the form has no place, such as a second address, stands in
/// it as a text that planSettings() refuses.
std::string saveSettings(const IReadableFiles& files);

/// Plans the files that ask for exactly what the document says. Files that already do are not written. "nothing to
/// change" when all of them do and no trial is pending; the live state does not matter. Refused for faults of the
/// document, and when a file that the library does not write asks for something else.
Plan planSettings(IDevice& device, const std::string& document);

/// What is wrong with the document, each with its place: "interfaces.remote.routes[1].gateway: not an IPv4 address".
/// For text that is no JSON, the first fault with line and column. After 100 faults one line tells how many more there
/// are. A document of more than 1 MiB, or of more than 8 levels, is refused unread.
std::vector<std::string> faultsOfSettings(const std::string& document);

} // namespace networkhost
