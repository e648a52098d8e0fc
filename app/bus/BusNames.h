// Under which names the running program is found on the user's session bus. Constants.
#pragma once

namespace velmoran::bus {

inline constexpr const char* name = "org.velmoran.Velmoran";
inline constexpr const char* path = "/org/velmoran/Velmoran";
inline constexpr const char* interface = "org.velmoran.Velmoran1";

/// No app of that name, id or path uses the camera or the microphone.
inline constexpr const char* notInUse = "org.velmoran.Velmoran1.Error.NotInUse";
/// Several apps that use them answer to that name.
inline constexpr const char* ambiguous = "org.velmoran.Velmoran1.Error.Ambiguous";

/// No app of that name, id or path is trusted with that device.
inline constexpr const char* notTrusted = "org.velmoran.Velmoran1.Error.NotTrusted";

/// How a request ended, as the replies tell it.
namespace outcome {
inline constexpr const char* done = "done";
inline constexpr const char* incomplete = "incomplete"; ///< something couldn't be stopped
inline constexpr const char* cancelled = "cancelled";   ///< the user kept a browser open
inline constexpr const char* busy = "busy";             ///< dropped, as another one is under way
} // namespace outcome

} // namespace velmoran::bus
