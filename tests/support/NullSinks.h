// Outputs that lead nowhere and say of themselves what real cards say. For tests that have a server
// for PulseAudio's clients in a private session.
#pragma once

#include "support/PrivateSession.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace velmoran::support {

class NullSinks {
public:
    /// It has to outlive this object.
    explicit NullSinks(PrivateSession& session) : session_(session) {}

    /// `properties` as the server takes them: "device.bus=pci device.form_factor=internal".
    void add(const std::string& name, const std::string& description,
             const std::string& properties) {
        const auto loaded = session_.run(
            {"pactl", "load-module", "module-null-sink", "sink_name=" + name,
             "sink_properties='device.description=\"" + description + "\" " + properties + "'"});
        EXPECT_TRUE(loaded.succeeded()) << loaded.errors;
        modules_[name] = loaded.output.substr(0, loaded.output.find('\n'));
    }
    void remove(const std::string& name) {
        const auto removed = session_.run({"pactl", "unload-module", modules_[name]});
        EXPECT_TRUE(removed.succeeded()) << removed.errors;
    }

private:
    PrivateSession& session_;
    std::map<std::string, std::string> modules_; ///< the server's numbers, by name
};

} // namespace velmoran::support
