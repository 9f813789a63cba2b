#pragma once

#include "app/VesklineAppDelegate.h"
#include "model/DesktopAppModel.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace veskline {

// The program's entry: it tries to build the one model and remembers how that went. Exactly one of `model` and
// `initializationError` is there, for good: without a model nothing else ever runs.
//
// Built once, on the main thread, and kept to the end of the process.
class VesklineNativeApp {
public:
    // `user` is what the window, if any, gives the model.
    explicit VesklineNativeApp(AppSurroundings surroundings, UserSurroundings user = {});

    [[nodiscard]] const VesklineAppDelegate& appDelegate() const noexcept { return appDelegate_; }

    [[nodiscard]] const std::shared_ptr<DesktopAppModel>& model() const noexcept { return model_; }
    [[nodiscard]] const std::optional<std::string>& initializationError() const noexcept {
        return initializationError_;
    }

    // The three lines that stand for the program where there is no model.
    [[nodiscard]] std::vector<std::string> failureContent() const;

private:
    VesklineAppDelegate appDelegate_;
    std::shared_ptr<DesktopAppModel> model_;
    std::optional<std::string> initializationError_;
};

} // namespace veskline
