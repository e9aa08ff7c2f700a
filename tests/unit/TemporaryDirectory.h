// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

/// Makes a new directory below /tmp, and removes it with its content at the end.
class TemporaryDirectory
{
public:
    TemporaryDirectory() : path_(::mkdtemp(template_.data())) {}
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

    std::string file(const std::string& name) const { return path_ + '/' + name; }

private:
    std::string template_ = "/tmp/velnm-test-XXXXXX";
    std::string path_;
};
