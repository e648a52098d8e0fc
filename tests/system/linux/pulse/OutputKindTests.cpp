#include "system/linux/pulse/OutputKind.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Kind = OutputDeviceInfo::Kind;
using Port = SinkTraits::Port;

SinkTraits sink(const std::string& bus, Port port, const std::string& name) {
    SinkTraits traits;
    traits.name = name;
    traits.bus = bus;
    traits.port = port;
    return traits;
}

TEST(OutputKind, IsHeadphonesForEverythingByBluetooth) {
    EXPECT_EQ(outputKind(sink("bluetooth", Port::none, "Kitchen Loudspeaker")), Kind::headphones);
    EXPECT_EQ(outputKind(sink("bluetooth", Port::other, "")), Kind::headphones);
    auto loudspeaker = sink("", Port::none, "Kitchen Loudspeaker");
    loudspeaker.api = "bluez5";
    EXPECT_EQ(outputKind(loudspeaker), Kind::headphones);
}

TEST(OutputKind, IsOtherForAnExternalDeviceWhateverItsName) {
    EXPECT_EQ(outputKind(sink("usb", Port::none, "USB Headphones")), Kind::other);
    EXPECT_EQ(outputKind(sink("usb", Port::headphones, "USB Audio")), Kind::other);
    EXPECT_EQ(outputKind(sink("firewire", Port::none, "Speakers")), Kind::other);
}

TEST(OutputKind, IsOtherIfNothingIsKnownOfTheDevice) {
    EXPECT_EQ(outputKind(sink("", Port::none, "Headphones")), Kind::other);
}

TEST(OutputKind, IsHeadphonesByTheJackOfABuiltInDevice) {
    EXPECT_EQ(outputKind(sink("pci", Port::headphones, "Built-in Audio")), Kind::headphones);
    EXPECT_EQ(outputKind(sink("platform", Port::headphones, "Audio")), Kind::headphones);
}

TEST(OutputKind, IsHeadphonesByTheNameOfABuiltInDevice) {
    EXPECT_EQ(outputKind(sink("pci", Port::none, "External Headphones")), Kind::headphones);
    EXPECT_EQ(outputKind(sink("isa", Port::other, "HEADPHONE out")), Kind::headphones);
}

TEST(OutputKind, IsBuiltInSpeakersForAnyOtherPortAndName) {
    EXPECT_EQ(outputKind(sink("pci", Port::other, "Built-in Audio")), Kind::builtInSpeakers);
    EXPECT_EQ(outputKind(sink("platform", Port::none, "Head phone")), Kind::builtInSpeakers);
    auto internal = sink("usb", Port::other, "Speakers");
    internal.formFactor = "internal";
    EXPECT_EQ(outputKind(internal), Kind::builtInSpeakers);
}

TEST(OutputKind, IsOtherWhereSoundLeavesABuiltInDeviceDigitally) {
    EXPECT_EQ(outputKind(sink("pci", Port::digital, "Built-in Audio HDMI")), Kind::other);
}

} // namespace
} // namespace velmoran
