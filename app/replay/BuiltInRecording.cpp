#include "app/replay/RecordingPlayer.h"

#include <sstream>

namespace velmoran {

namespace {
constexpr const char* text = R"(# A call that turns on the camera and the microphone,
# a recorder, and a camera that nobody owns up to.
{"begin": {"machine": {"platform": "Linux"}}}
{"at": 0, "snapshot": {}}
{"at": 2, "snapshot": {"cameraOn": true, "cameraDevices": ["Webcam"]}}
{"at": 2.2, "snapshot": {"cameraOn": true, "cameraDevices": ["Webcam"], "cameraApps": [{"name": "Video Call", "bundleID": "org.example.VideoCall"}]}}
{"at": 4, "snapshot": {"cameraOn": true, "cameraDevices": ["Webcam"], "cameraApps": [{"name": "Video Call", "bundleID": "org.example.VideoCall"}], "microphoneOn": true, "microphoneApps": [{"name": "Video Call", "bundleID": "org.example.VideoCall"}]}}
{"at": 9, "snapshot": {"cameraOn": true, "cameraDevices": ["Webcam"], "cameraApps": [{"name": "Video Call", "bundleID": "org.example.VideoCall"}], "microphoneOn": true, "microphoneApps": [{"name": "Video Call", "bundleID": "org.example.VideoCall"}, {"name": "Sound Recorder", "bundleID": "org.example.Recorder"}]}}
{"at": 14, "snapshot": {"microphoneOn": true, "microphoneApps": [{"name": "Sound Recorder", "bundleID": "org.example.Recorder"}]}}
{"at": 18, "snapshot": {}}
{"at": 22, "snapshot": {"cameraOn": true, "cameraDevices": ["Webcam"]}}
{"at": 28, "snapshot": {}}
{"at": 30, "wait": true}
)";
} // namespace

std::unique_ptr<std::istream> builtInRecording() {
    return std::make_unique<std::istringstream>(text);
}

} // namespace velmoran
