// A desktop session of a test's own: a home folder, a runtime folder, and the real servers that the
// test asks for, each a child process that ends with it. Nothing of the person's own session is
// seen or touched, so several can run side by side. It belongs to one test and lives on its thread.
#pragma once

#include "support/ChildProcess.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmoran::support {

/// What a program that ran to its end has left.
struct Finished {
    /// Empty when it had to be killed at the end of its time.
    std::optional<ExitStatus> status;
    std::string output;
    std::string errors;

    [[nodiscard]] bool succeeded() const { return status == 0; }
};

/// Whether a server takes connections at this socket.
[[nodiscard]] bool socketAnswers(const std::filesystem::path& socketPath);

/// A program of another's, or a part of one, isn't on this machine. A test that ends by it counts
/// as skipped.
struct NotInstalled : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class PrivateSession {
public:
    /// Makes the folders under /tmp (short, since socket names have 107 characters), all 0700.
    PrivateSession();
    /// Ends every child in the reverse order of their starts, and removes the folders.
    ~PrivateSession();
    PrivateSession(const PrivateSession&) = delete;
    PrivateSession& operator=(const PrivateSession&) = delete;

    [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }
    [[nodiscard]] std::filesystem::path home() const { return folder_ / "home"; }
    [[nodiscard]] std::filesystem::path runtimeFolder() const { return folder_ / "run"; }
    /// What the children get: HOME, the XDG folders, PATH, the servers' addresses once they run,
    /// and the sanitizers' options. Whoever adds to it reaches the programs started afterwards.
    [[nodiscard]] Environment& environment() { return environment_; }
    /// Gives this process the same environment, for code under test that runs in the test itself.
    void enter() const;

    // Each returns when the server can be used, or throws std::runtime_error with its log, or
    // NotInstalled. What isn't in the PATH is looked for among the unpacked packages.
    void startBus();
    /// A bus in the place of the machine's, as "system bus", with nobody on it.
    void startSystemBus();
    void startPipeWire();
    void startWirePlumber();
    void startPulse();
    /// PulseAudio itself in the place of all those, as "pulse": with a null sink "speaker" and what
    /// these modules bring, each with its arguments.
    void startPulseAudio(const std::vector<std::string>& modules = {});
    /// The bus, PipeWire with its session manager and its server for PulseAudio's clients,
    /// and a null sink "virtual-speaker" as the default output.
    void startSound();
    /// A microphone with a tone, the default one. Muting it gives silence. What plays it and the
    /// camera is no program that records too, so whoever closes a recorder leaves them.
    void addMicrophone(const std::string& name = "virtual-microphone",
                       const std::string& description = "Virtual Microphone");
    /// A moving picture as a camera of the sound server.
    void addCamera(const std::string& name = "virtual-camera",
                   const std::string& description = "Virtual Camera");
    /// Xvfb with openbox, a screen of 1280 x 800.
    void startDisplay();
    /// An XEmbed tray at the top right; wants the display.
    void startTray();

    /// Throws NotInstalled where one of these can't be found in the PATH.
    void need(const std::vector<std::string>& programs) const;
    /// Throws NotInstalled where GStreamer, or its plug-in that records from PipeWire, is missing.
    void needGStreamer();

    /// Ends the server or device of that name ("bus", "pipewire", "wireplumber", "pulse", a
    /// device's name, "display", "tray", or what `start` was given). Nothing if there is none.
    void stop(const std::string& name);
    /// Of all servers, devices and programs, in the order of their starts.
    [[nodiscard]] std::vector<std::string> names() const;
    /// Null when there is none of that name.
    [[nodiscard]] ChildProcess* child(const std::string& name);

    /// Starts a program in the session that runs beside the test. Throws NotInstalled, or
    /// std::runtime_error for one that is named by its path, whose lack is no reason to skip a
    /// test.
    ChildProcess& start(const std::string& name, const std::vector<std::string>& arguments);
    /// Runs a program to its end, or kills it after `bound`. Throws as `start` does.
    Finished run(const std::vector<std::string>& arguments, Bound bound = patience);

    /// The whole graph as pw-dump prints it; empty when PipeWire doesn't answer.
    std::string graph();
    /// The path under which a file of this name would be kept for a failing test to read.
    [[nodiscard]] std::filesystem::path file(const std::string& name) const {
        return folder_ / name;
    }
    /// All that the children have written, for a failure's message.
    [[nodiscard]] std::string logs() const;

private:
    struct Named {
        std::string name;
        std::unique_ptr<ChildProcess> process;
    };

    /// For the child started last; throws when it ends or doesn't come up.
    void await(const std::function<bool()>& ready, const std::string& what);
    void writeConfiguration();

    std::filesystem::path folder_;
    Environment environment_;
    std::vector<Named> children_;
    int runs_ = 0;
};

} // namespace velmoran::support
