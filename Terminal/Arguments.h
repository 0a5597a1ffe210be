#pragma once

#include "Terminal/Commands.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace orvane::terminal {

/// The command line as it may be, and what was found on it.
class Arguments {
  public:
    Arguments();
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    CLI::App app;
    Session session;
    std::function<int()> chosen; ///< runs the command, once the words were read

  private:
    CLI::App& command(CLI::App& parent, const std::string& name, const std::string& text, std::function<int()> run);
    void addTaskCommands();
    void addSystemCommands();
    void addClipboardCommands();
    void addPlanOptions(CLI::App& command);

    std::vector<std::string> words_;
    std::string name_;
    std::string value_;
    std::string colour_;
    RunChoices run_;
    std::size_t number_ = 10;
    bool dryRun_ = false;
    bool force_ = false;
    bool items_ = false;
    bool undo_ = false;
    bool yes_ = false;
};

} // namespace orvane::terminal
