// What the path of a file inside an application bundle says of the application. Pure functions of
// the text: nothing is looked up. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// The outermost bundle that holds a path: up to the first piece that ends in ".app", with single
/// slashes. The piece need not be a real bundle. Nothing if no piece ends so.
std::optional<std::string> enclosingAppBundle(std::string_view path);

/// A name as the system shows it for a bundle, without ".app" at its end; other endings, ".APP"
/// too, stay.
std::string withoutAppExtension(std::string_view displayName);

} // namespace velmoran
