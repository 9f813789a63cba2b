#include "app/VesklineNativeApp.h"

#include "platform/text/ErrorDescription.h"

#include <exception>
#include <utility>

namespace veskline {

VesklineNativeApp::VesklineNativeApp(AppSurroundings surroundings, UserSurroundings user) {
    try {
        model_ = DesktopAppModel::create(surroundings, std::move(user));
    } catch (const std::exception& error) {
        initializationError_ = platform::describe(error);
    }
}

std::vector<std::string> VesklineNativeApp::failureContent() const {
    return {"Veskline", "Native app initialization failed.",
            initializationError_.value_or("Failed to initialize the native app.")};
}

} // namespace veskline
