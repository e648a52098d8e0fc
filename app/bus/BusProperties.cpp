#include "app/bus/BusProperties.h"

#include <algorithm>
#include <array>

namespace velmoran::bus {

const char* const introspection =
    R"(<!DOCTYPE node PUBLIC "-//freedesktop//DTD D-BUS Object Introspection 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd">
<node>
  <interface name="org.velmoran.Velmoran1">
    <method name="StopEverything">
      <arg name="outcome" type="s" direction="out"/>
      <arg name="headline" type="s" direction="out"/>
      <arg name="detail" type="s" direction="out"/>
    </method>
    <method name="Stop">
      <arg name="app" type="s" direction="in"/>
      <arg name="outcome" type="s" direction="out"/>
      <arg name="headline" type="s" direction="out"/>
      <arg name="detail" type="s" direction="out"/>
    </method>
    <method name="UnmuteMicrophone">
      <arg name="outcome" type="s" direction="out"/>
      <arg name="headline" type="s" direction="out"/>
      <arg name="detail" type="s" direction="out"/>
    </method>
    <method name="Identify">
      <arg name="place" type="s" direction="in"/>
    </method>
    <method name="Status">
      <arg name="json" type="s" direction="out"/>
    </method>
    <method name="Settings">
      <arg name="json" type="s" direction="out"/>
    </method>
    <method name="ChangeSetting">
      <arg name="name" type="s" direction="in"/>
      <arg name="value" type="s" direction="in"/>
      <arg name="outcome" type="s" direction="out"/>
      <arg name="headline" type="s" direction="out"/>
      <arg name="detail" type="s" direction="out"/>
    </method>
    <method name="Trust">
      <arg name="json" type="s" direction="out"/>
    </method>
    <method name="Distrust">
      <arg name="app" type="s" direction="in"/>
      <arg name="device" type="s" direction="in"/>
      <arg name="outcome" type="s" direction="out"/>
      <arg name="headline" type="s" direction="out"/>
      <arg name="detail" type="s" direction="out"/>
    </method>
    <signal name="ChangedFromOutside">
      <arg name="json" type="s"/>
    </signal>
    <property name="CameraOn" type="b" access="read"/>
    <property name="MicrophoneOn" type="b" access="read"/>
    <property name="MicrophoneMuted" type="b" access="read"/>
    <property name="Stopping" type="b" access="read"/>
    <property name="Uses" type="aa{sv}" access="read"/>
    <property name="Unwatched" type="as" access="read"/>
  </interface>
  <interface name="org.freedesktop.DBus.Properties">
    <method name="Get">
      <arg name="interface" type="s" direction="in"/>
      <arg name="property" type="s" direction="in"/>
      <arg name="value" type="v" direction="out"/>
    </method>
    <method name="GetAll">
      <arg name="interface" type="s" direction="in"/>
      <arg name="properties" type="a{sv}" direction="out"/>
    </method>
    <method name="Set">
      <arg name="interface" type="s" direction="in"/>
      <arg name="property" type="s" direction="in"/>
      <arg name="value" type="v" direction="in"/>
    </method>
    <signal name="PropertiesChanged">
      <arg name="interface" type="s"/>
      <arg name="changed" type="a{sv}"/>
      <arg name="invalidated" type="as"/>
    </signal>
  </interface>
  <interface name="org.freedesktop.DBus.Introspectable">
    <method name="Introspect">
      <arg name="xml" type="s" direction="out"/>
    </method>
  </interface>
  <interface name="org.freedesktop.DBus.Peer">
    <method name="Ping"/>
    <method name="GetMachineId">
      <arg name="machine" type="s" direction="out"/>
    </method>
  </interface>
</node>
)";

namespace {

int append(sd_bus_message* message, bool value) {
    return sd_bus_message_append(message, "v", "b", value ? 1 : 0);
}

int appendText(sd_bus_message* message, const char* key, const std::string& value) {
    return sd_bus_message_append(message, "{sv}", key, "s", busText(value).c_str());
}

int appendUse(sd_bus_message* message, const ProgramStatus::Use& use) {
    sd_bus_message_open_container(message, 'a', "{sv}");
    appendText(message, "Device", std::string(rawValue(use.device)));
    appendText(message, "AppID", use.app.id);
    appendText(message, "AppName", use.app.name);
    if (use.app.path) {
        appendText(message, "AppPath", *use.app.path);
    }
    sd_bus_message_append(message, "{sv}", "Since", "x", use.since);
    sd_bus_message_append(message, "{sv}", "SeenFromStart", "b", use.seenFromStart ? 1 : 0);
    return sd_bus_message_close_container(message);
}

int append(sd_bus_message* message, const std::vector<ProgramStatus::Use>& uses) {
    sd_bus_message_open_container(message, 'v', "aa{sv}");
    sd_bus_message_open_container(message, 'a', "a{sv}");
    for (const auto& use : uses) {
        appendUse(message, use);
    }
    sd_bus_message_close_container(message);
    return sd_bus_message_close_container(message);
}

int append(sd_bus_message* message, const std::vector<Device>& devices) {
    sd_bus_message_open_container(message, 'v', "as");
    sd_bus_message_open_container(message, 'a', "s");
    for (const auto device : devices) {
        sd_bus_message_append(message, "s", std::string(rawValue(device)).c_str());
    }
    sd_bus_message_close_container(message);
    return sd_bus_message_close_container(message);
}

using Status = const ProgramStatus&;

struct Property {
    const char* name;
    int (*append)(sd_bus_message* message, Status now);
    bool (*differs)(Status before, Status now);
};

template <auto member>
constexpr Property property(const char* name) {
    return {name, [](sd_bus_message* message, Status now) { return append(message, now.*member); },
            [](Status before, Status now) {
                return before.*member != now.*member;
            }};
}

constexpr std::array table = {
    property<&ProgramStatus::cameraOn>("CameraOn"),
    property<&ProgramStatus::microphoneOn>("MicrophoneOn"),
    property<&ProgramStatus::microphoneMuted>("MicrophoneMuted"),
    property<&ProgramStatus::stopping>("Stopping"),
    property<&ProgramStatus::uses>("Uses"),
    property<&ProgramStatus::unwatched>("Unwatched"),
};

} // namespace

std::string introspectionOfParent(const std::string& child) {
    return R"(<!DOCTYPE node PUBLIC "-//freedesktop//DTD D-BUS Object Introspection 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd">
<node>
  <node name=")" +
           child + "\"/>\n</node>\n";
}

std::vector<std::string> properties() {
    std::vector<std::string> names;
    for (const auto& each : table) {
        names.emplace_back(each.name);
    }
    return names;
}

int appendProperty(sd_bus_message* message, const std::string& property, Status status) {
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const Property& each) { return property == each.name; });
    return found == table.end() ? -1 : found->append(message, status);
}

void appendProperties(sd_bus_message* message, const std::vector<std::string>& properties,
                      Status status) {
    sd_bus_message_open_container(message, 'a', "{sv}");
    for (const auto& each : properties) {
        sd_bus_message_open_container(message, 'e', "sv");
        sd_bus_message_append(message, "s", each.c_str());
        appendProperty(message, each, status);
        sd_bus_message_close_container(message);
    }
    sd_bus_message_close_container(message);
}

std::vector<std::string> changedProperties(Status before, Status now) {
    std::vector<std::string> changed;
    for (const auto& each : table) {
        if (each.differs(before, now)) {
            changed.emplace_back(each.name);
        }
    }
    return changed;
}

std::string busText(const std::string& text) {
    // The JSON library's replacement, taken out of its quotes again.
    auto valid = decode<std::string>(encode(text));
    valid.resize(std::min(valid.find('\0'), valid.size()));
    return valid;
}

} // namespace velmoran::bus
