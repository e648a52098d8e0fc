// What logind is called on the system bus (org.freedesktop.login1(5)).
#pragma once

namespace velmoran::logind {

inline constexpr const char* service = "org.freedesktop.login1";
inline constexpr const char* path = "/org/freedesktop/login1";
inline constexpr const char* manager = "org.freedesktop.login1.Manager";
inline constexpr const char* session = "org.freedesktop.login1.Session";

} // namespace velmoran::logind
