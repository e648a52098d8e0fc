// The commands about what Velmoran keeps: its history, the reports of the away watch, the apps that
// are trusted, the settings. One per process; made by `main` before it parses, and run after.
#pragma once

#include "ctl/Ask.h"
#include "ctl/History.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class KeptCommands {
public:
    explicit KeptCommands(CLI::App& app);

    /// In the order of the help.
    std::vector<CLI::App*> all() const { return {history_, reports_, trust_, settings_}; }
    /// The exit status of the one that was given; nothing if none of them was.
    std::optional<int> run(const AskOptions& asking);

private:
    void addHistory(CLI::App& app);
    void addReports(CLI::App& app);
    void addTrust(CLI::App& app);
    void addSettings(CLI::App& app);

    CLI::App* history_ = nullptr;
    HistoryOptions historyOptions_;
    bool csv_ = false;

    CLI::App* reports_ = nullptr;

    CLI::App* trust_ = nullptr;
    CLI::App* trustRemove_ = nullptr;
    std::string app_;
    std::string device_;

    CLI::App* settings_ = nullptr;
    CLI::App* settingsGet_ = nullptr;
    CLI::App* settingsSet_ = nullptr;
    std::string name_;
    std::string value_;

    bool json_ = false;
};

} // namespace velmoran
