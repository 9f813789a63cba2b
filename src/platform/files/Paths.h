#pragma once

#include <string>
#include <string_view>

namespace platform {

// Absolute paths as bytes. Everything here is lexical: it asks no disk, and follows no link. Any thread.

// Without ".", "..", doubled slashes and a slash at the end: "/a/./b//" is "/a/b". ".." above "/" is "/" itself.
// A text that does not begin with "/" stays relative.
[[nodiscard]] std::string standardisedPath(std::string_view path);

// "/a/b" for "/a/b/"; "/" stays as it is. The views that these operations give are parts of the text given.
[[nodiscard]] std::string_view withoutTrailingSlashes(std::string_view path) noexcept;

// "b.txt" for "/a/b.txt" and for "/a/b.txt/"; empty for "/".
[[nodiscard]] std::string_view lastComponent(std::string_view path) noexcept;

// "/a" for "/a/b", "/" for "/a", empty for "/" and for a name alone.
[[nodiscard]] std::string_view parentPath(std::string_view path) noexcept;

// Whether `path` lies somewhere below `folder`; a folder does not lie below itself.
[[nodiscard]] bool isBelow(std::string_view path, std::string_view folder) noexcept;

// The text behind the last dot of the last component, in its own case: "gz" for "/a/b.tar.gz". Empty where there is no
// dot, where nothing stands behind it ("a."), and where the only dot is the one that hides a file (".profile").
[[nodiscard]] std::string_view pathExtension(std::string_view path) noexcept;

// The same of a name that is known to be one component.
[[nodiscard]] std::string_view nameExtension(std::string_view name) noexcept;

} // namespace platform
