#include "model/FolderSelectionConfirmation.h"

namespace veskline {

namespace {

using Kind = FolderSelectionConfirmation::Kind;

struct AlertTexts {
    const char* title;
    const char* message;
    const char* button;
};

AlertTexts textsOf(Kind kind) {
    switch (kind) {
    case Kind::replaceWithHome:
        return {.title = "Replace folder selection with Home?",
                .message = "Syncing your entire home folder can take a while. Replace your current selection with your "
                           "home directory?",
                .button = "Use Home"};
    case Kind::replaceWithRoot:
        return {.title = "Replace folder selection with full disk?",
                .message = "Syncing your entire computer can take a long time and use more bandwidth. Replace your "
                           "current selection with your full disk?",
                .button = "Use full disk"};
    case Kind::replaceWithSpecificFolder:
        break;
    }
    return {.title = "Replace all-folders selection?",
            .message = "You currently have an all-folders selection active. Replace it with this specific folder?",
            .button = "Replace with folder"};
}

AlertTexts textsOf(const std::optional<FolderSelectionConfirmation>& pending) {
    return pending ? textsOf(pending->kind())
                   : AlertTexts{.title = "Replace folder selection?", .message = "", .button = "Replace"};
}

} // namespace

std::string FolderSelectionConfirmation::id() const {
    switch (kind_) {
    case Kind::replaceWithHome:
        return "home";
    case Kind::replaceWithRoot:
        return "root";
    case Kind::replaceWithSpecificFolder:
        break;
    }
    return "folder:" + path_;
}

std::string confirmationTitle(const std::optional<FolderSelectionConfirmation>& pending) {
    return textsOf(pending).title;
}

std::string confirmationMessage(const std::optional<FolderSelectionConfirmation>& pending) {
    return textsOf(pending).message;
}

std::string confirmationButtonTitle(const std::optional<FolderSelectionConfirmation>& pending) {
    return textsOf(pending).button;
}

} // namespace veskline
