// SPDX-License-Identifier: MIT
// Registers a test for each scenario of tests/scenarios, named after its file and its heading.
#include "networkhost/state/DaemonFile.h"
#include "networkhost/text/Words.h"
#include "scenario/SimulatedScenario.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace {

struct RecordedStep
{
    std::string step;
    std::string expected; // the indented text below the step
};

class RecordedScenario : public testing::Test
{
public:
    explicit RecordedScenario(const std::vector<RecordedStep>& steps) : steps_(steps) {}

    void TestBody() override
    {
        SimulatedScenario scenario;
        ASSERT_FALSE(steps_.empty());
        for (const auto& recorded : steps_) {
            EXPECT_EQ(scenario.run(recorded.step), recorded.expected) << recorded.step;
        }
    }

private:
    std::vector<RecordedStep> steps_;
};

/// Makes "GoesToDHCP" of "goes to DHCP [simulated]".
std::string testName(const std::string& heading)
{
    std::string name;
    for (auto word : networkhost::wordsOf(heading.substr(0, heading.find('[')))) {
        word.erase(std::remove_if(word.begin(), word.end(), [](unsigned char letter) { return !std::isalnum(letter); }),
                   word.end());
        word.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(word.front())));
        name += word;
    }
    return name;
}

void registerFile(const std::filesystem::path& path)
{
    std::ifstream file(path);
    std::string heading;
    std::vector<RecordedStep> steps;
    const auto registerScenario = [&] {
        testing::RegisterTest(path.stem().c_str(), testName(heading).c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [steps]() -> testing::Test* { return new RecordedScenario(steps); });
    };
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind("== ", 0) == 0) {
            if (!heading.empty()) {
                registerScenario();
            }
            heading = line.substr(3);
            steps.clear();
        } else if (line.rfind("> ", 0) == 0) {
            steps.push_back({line.substr(2), ""});
        } else {
            steps.at(steps.size() - 1).expected += (line.empty() ? line : line.substr(4)) + '\n';
        }
    }
    registerScenario();
}

const bool areRegistered = [] {
    for (const auto& entry : std::filesystem::directory_iterator(SCENARIOS)) {
        registerFile(entry.path());
    }
    return true;
}();

} // namespace
