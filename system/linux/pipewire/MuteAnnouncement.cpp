#include "system/linux/pipewire/MuteAnnouncement.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "system/linux/pipewire/SpaDict.h"

#include <spa/param/param.h>
#include <spa/param/props.h>
#include <spa/pod/builder.h>

namespace velmoran {

namespace {

bool isDeviceWithoutRoute(const spa_dict* props) {
    const auto mediaClass = textIn(props, PW_KEY_MEDIA_CLASS);
    const auto routes = textIn(props, "device.routes");
    return (mediaClass.starts_with("Audio/Source") || mediaClass.starts_with("Audio/Sink") ||
            mediaClass.starts_with("Audio/Duplex")) &&
           (routes.empty() || routes == "0");
}

// The converter sets its mixer up and announces its properties when one of its parameters is
// written. It knows this one as a number: a text without one leaves it as it is.
void writeNothing(pw_proxy* node) {
    std::array<std::uint8_t, 256> buffer{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, buffer.data(), buffer.size());
    spa_pod_frame object{};
    spa_pod_frame parameters{};
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Props, SPA_PARAM_Props);
    spa_pod_builder_prop(&builder, SPA_PROP_params, 0);
    spa_pod_builder_push_struct(&builder, &parameters);
    spa_pod_builder_string(&builder, "channelmix.rear-delay");
    spa_pod_builder_string(&builder, "");
    spa_pod_builder_pop(&builder, &parameters);
    const auto* written = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
    if (written != nullptr) {
        pw_node_set_param(reinterpret_cast<pw_node*>(node), SPA_PARAM_Props, 0, written);
    }
}

} // namespace

void MuteAnnouncement::nodeChanged(pw_proxy* node, const pw_node_info& info) {
    if (info.props != nullptr) {
        isConcerned_ = isDeviceWithoutRoute(info.props);
    }
    if (isDecided_ || !isConcerned_) {
        return;
    }
    if (info.state == PW_NODE_STATE_SUSPENDED || info.state == PW_NODE_STATE_IDLE) {
        writeNothing(node);
        isDecided_ = true;
    } else if (info.state == PW_NODE_STATE_RUNNING) {
        isDecided_ = true;
    }
}

} // namespace velmoran
