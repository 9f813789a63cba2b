#include "app/VesklineNativeApp.h"

#include "platform/text/ErrorDescription.h"
#include "platform/text/Utf8.h"
#include "state/DatabaseError.h"
#include "state/LocalDatabase.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace veskline {

VesklineNativeApp::VesklineNativeApp(AppSurroundings surroundings, UserSurroundings user) {
    try {
        model_ = DesktopAppModel::create(surroundings, std::move(user));
    } catch (const DatabaseError& error) {
        const std::string path = platform::withReplacementCharacters(LocalDatabase::defaultPlace().path);
        initializationError_ = fmt::format("{} (in the file \"{}\")", platform::describe(error), path);
    } catch (const std::exception& error) {
        initializationError_ = platform::describe(error);
    }
}

std::vector<std::string> VesklineNativeApp::failureContent() const {
    return {"Veskline", "Native app initialization failed.",
            initializationError_.value_or("Failed to initialize the native app.")};
}

} // namespace veskline
