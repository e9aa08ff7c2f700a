// SPDX-License-Identifier: MIT
#include "networkhost/text/BoundedJson.h"

#include "networkhost/text/Checks.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace networkhost {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 20U;
constexpr std::size_t kMostLevels = 8;
constexpr std::size_t kMostFaults = 100;
constexpr std::size_t kLongestFault = 1000; // bytes
constexpr std::size_t kLongestKey = 64;     // bytes

std::string shortened(const std::string& text, std::size_t most)
{
    if (text.size() <= most) {
        return text;
    }
    auto end = most;
    while (end > 0 && (text[end] & '\xC0') == '\x80') { // no part of a character is left
        --end;
    }
    return text.substr(0, end) + "...";
}

/// The parser's own ways to watch it search a whole object for each new key or value.
class Builder : public nlohmann::json_sax<Json>
{
public:
    Builder(const std::string& text, Json& root, Faults& faults) : text_(text), root_(root), faults_(faults) {}

    const std::string& failure() const { return failure_; }

    bool null() override { return put(nullptr); }
    bool boolean(bool value) override { return put(value); }
    bool number_integer(number_integer_t value) override { return put(value); }
    bool number_unsigned(number_unsigned_t value) override { return put(value); }
    bool number_float(number_float_t value, const string_t& /*text*/) override { return put(value); }
    bool string(string_t& value) override { return put(std::move(value)); }
    bool binary(binary_t& /*value*/) override { return false; } // not in a text
    bool start_object(std::size_t /*size*/) override { return open(Json::value_t::object); }
    bool start_array(std::size_t /*size*/) override { return open(Json::value_t::array); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override
    {
        auto& level = levels_.back();
        auto& members = level.value->get_ref<Json::object_t&>();
        const auto [position, isNew] = level.positions.try_emplace(name, members.end() - members.begin());
        level.key = name;
        if (isNew) {
            static_cast<Json::object_t::Container&>(members).emplace_back(std::move(name), Json());
        } else {
            faults_.add(place() + ": the key occurs twice");
        }
        level.member = position->second;
        return true;
    }

    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& error) override
    {
        const auto before = std::string_view(text_).substr(0, position);
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const auto column = position - (before.rfind('\n') + 1); // npos + 1 is 0
        const std::string words = error.what(); // "[...] parse error at line 1, column 2: syntax error while ..."
        for (const std::string_view end : {": ", "] ", ""}) {
            if (const auto place = words.find(end); place != std::string::npos) {
                failure_ = "line " + std::to_string(line) + ", column " + std::to_string(column) + ": " +
                           words.substr(place + end.size());
                break;
            }
        }
        return false;
    }

private:
    struct Level
    {
        Json* value;
        std::map<std::string, std::ptrdiff_t> positions; // of an object's keys among its members
        std::ptrdiff_t member = 0;                       // the one that comes
        std::string key;                                 // of that
    };

    Json& add(Json&& value)
    {
        if (levels_.empty()) {
            return root_ = std::move(value);
        }
        auto& level = levels_.back();
        if (level.value->is_array()) {
            level.value->push_back(std::move(value));
            return level.value->back();
        }
        return level.value->get_ref<Json::object_t&>().begin()[level.member].second = std::move(value);
    }

    template <typename Value>
    bool put(Value&& value)
    {
        add(Json(std::forward<Value>(value)));
        return true;
    }

    bool open(Json::value_t kind)
    {
        if (levels_.size() == kMostLevels) {
            failure_ = "the document has more than " + std::to_string(kMostLevels) + " levels";
            return false;
        }
        levels_.push_back({&add(Json(kind)), {}, 0, {}});
        return true;
    }

    bool close()
    {
        levels_.pop_back();
        return true;
    }

    std::string place() const
    {
        std::string place;
        for (const auto& level : levels_) {
            if (level.value->is_object()) {
                place += (place.empty() ? "" : ".") + shownKey(level.key);
            }
        }
        return place;
    }

    const std::string& text_;
    Json& root_;
    Faults& faults_;
    std::vector<Level> levels_;
    std::string failure_;
};

} // namespace

void Faults::add(const std::string& fault)
{
    if (first_.size() < kMostFaults) {
        first_.push_back(shortened(fault, kLongestFault));
    } else {
        ++more_;
    }
}

std::vector<std::string> Faults::texts() const
{
    auto texts = first_;
    if (more_ > 0) {
        texts.push_back("... and " + std::to_string(more_) + " more");
    }
    return texts;
}

Json parseBounded(const std::string& text, Faults& faults)
{
    Json json;
    Builder builder(text, json, faults);
    if (text.size() > kMostBytes) {
        faults.add("the document is larger than 1 MiB");
    } else if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        faults.add("the document is empty");
    } else if (Json::sax_parse(text, &builder)) {
        return json;
    } else {
        faults = Faults(); // of half a text
        faults.add(printable(builder.failure()));
    }
    return Json(Json::value_t::discarded); // NOLINT(modernize-return-braced-init-list): that would be an array
}

std::string shownKey(const std::string& key)
{
    return printable(shortened(key, kLongestKey));
}

} // namespace networkhost
