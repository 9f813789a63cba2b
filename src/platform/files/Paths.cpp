#include "platform/files/Paths.h"

#include <algorithm>
#include <vector>

namespace platform {

namespace {

std::vector<std::string_view> resolvedComponents(std::string_view path) {
    const bool isAbsolute = path.starts_with('/');
    std::vector<std::string_view> kept;
    while (!path.empty()) {
        const std::string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), component.size() + 1));
        const bool hasParent = !kept.empty() && kept.back() != "..";
        if (component == ".." && hasParent) {
            kept.pop_back();
        } else if (component == ".." ? !isAbsolute : !component.empty() && component != ".") {
            kept.push_back(component);
        }
    }
    return kept;
}

} // namespace

std::string standardisedPath(std::string_view path) {
    std::string result;
    result.reserve(path.size());
    for (const std::string_view component : resolvedComponents(path)) {
        if (!result.empty() || path.starts_with('/')) {
            result += '/';
        }
        result += component;
    }
    return result.empty() && path.starts_with('/') ? "/" : result;
}

std::string_view withoutTrailingSlashes(std::string_view path) noexcept {
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
}

std::string_view lastComponent(std::string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    return path.substr(path.rfind('/') + 1); // npos + 1 is the start of the text
}

std::string_view parentPath(std::string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos || path.size() == 1) {
        return {};
    }
    return withoutTrailingSlashes(path.substr(0, slash + 1));
}

bool isBelow(std::string_view path, std::string_view folder) noexcept {
    folder = withoutTrailingSlashes(folder);
    if (folder == "/") {
        folder = {};
    }
    return path.size() > folder.size() + 1 && path.starts_with(folder) && path[folder.size()] == '/';
}

std::string_view pathExtension(std::string_view path) noexcept {
    return nameExtension(lastComponent(path));
}

std::string_view nameExtension(std::string_view name) noexcept {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

} // namespace platform
