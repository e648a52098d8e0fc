#include "core/records/Device.h"

#include "core/records/RawValue.h"

namespace velmoran {

namespace {
constexpr RawValueTable<Device, 3> table = {
    {{Device::camera, "camera"}, {Device::microphone, "microphone"}, {Device::speaker, "speaker"}}};
}

std::string_view rawValue(Device device) {
    return rawValueIn(table, device);
}

std::optional<Device> deviceFrom(std::string_view rawValue) {
    return caseIn(table, rawValue);
}

void to_json(Json& json, Device device) {
    json = std::string(rawValue(device));
}

void from_json(const Json& json, Device& device) {
    device = caseFromJson(table, json);
}

} // namespace velmoran
