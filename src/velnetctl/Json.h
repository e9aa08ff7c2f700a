// SPDX-License-Identifier: MIT
#pragma once

#include "base/IpAddress.h"
#include "base/IpSettings.h"

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

/// Values as velnetctl prints them for programs. A cell that was never assigned is null.
namespace velnetctl {

using Json = nlohmann::ordered_json;

Json toJson(bool value);
Json toJson(const std::string& text);
Json toJson(const velbase2::nsa::common::IpSettings& settings);
Json toJson(const std::vector<velbase2::nsa::common::structs::IpAddress>& addresses);

template <class X>
Json toJson(const std::optional<X>& content)
{
    return content ? toJson(*content) : Json();
}

/// The JSON text in one line, or in several with an indentation. Bytes that are not UTF-8 are replaced.
std::string dump(const Json& json, int indentation = -1);

} // namespace velnetctl
