#include "model/DesktopAppModel.h"
#include "platform/files/Paths.h"

#include <algorithm>
#include <utility>

namespace veskline {

namespace {

constexpr const char* allFoldersSelected = "All folders selected (home directory).";
constexpr const char* allFilesSelected = "All files selected (full disk).";

} // namespace

// The dialog is open for as long as somebody holds its answer: one that is dropped unused lets the user pick again.
void DesktopAppModel::addFolder() {
    if (!user_.folderPicker || !openFolderDialog_.expired()) {
        return;
    }
    const auto dialog = std::make_shared<FolderDialog>();
    openFolderDialog_ = dialog;
    user_.folderPicker([weak = weak_from_this(), dialog](const std::optional<std::string>& path) {
        if (const std::shared_ptr<DesktopAppModel> model = weak.lock()) {
            model->openFolderDialog_.reset();
            if (path && path->starts_with('/')) {
                model->addPickedFolder(platform::standardisedPath(*path));
            }
        }
    });
}

// An all-folders selection asks before anything else, even where it holds the picked folder itself.
void DesktopAppModel::addPickedFolder(std::string path) {
    if (isOnlyFolder(homeFolder_) || isOnlyFolder(rootFolder_)) {
        pendingFolderSelectionConfirmation_.set(FolderSelectionConfirmation::replaceWithSpecificFolder(path));
        return;
    }
    if (std::ranges::find(folders_(), path) != folders_().end()) {
        syncStatus_.set("Folder already selected.");
        return;
    }
    folders_.change([&path](std::vector<std::string>& folders) { folders.push_back(path); });
    syncStatus_.set("");
}

void DesktopAppModel::chooseHomeFolder() {
    if (isOnlyFolder(homeFolder_)) {
        syncStatus_.set(allFoldersSelected);
    } else {
        replaceFolders(FolderSelectionConfirmation::replaceWithHome());
    }
}

void DesktopAppModel::chooseRootFolder() {
    if (isOnlyFolder(rootFolder_)) {
        syncStatus_.set(allFilesSelected);
    } else {
        replaceFolders(FolderSelectionConfirmation::replaceWithRoot());
    }
}

bool DesktopAppModel::isOnlyFolder(const std::string& path) const {
    return folders_().size() == 1 && folders_().front() == path;
}

// At once where nothing is lost.
void DesktopAppModel::replaceFolders(FolderSelectionConfirmation selection) {
    if (folders_().empty()) {
        applyFolderSelection(std::move(selection));
    } else {
        pendingFolderSelectionConfirmation_.set(std::move(selection));
    }
}

void DesktopAppModel::clearFolders() {
    folders_.set({});
    syncStatus_.set("");
}

void DesktopAppModel::confirmPendingFolderSelection() {
    if (pendingFolderSelectionConfirmation_()) {
        applyFolderSelection(*pendingFolderSelectionConfirmation_());
        pendingFolderSelectionConfirmation_.set(std::nullopt);
    }
}

void DesktopAppModel::cancelPendingFolderSelection() {
    pendingFolderSelectionConfirmation_.set(std::nullopt);
}

void DesktopAppModel::applyFolderSelection(FolderSelectionConfirmation selection) {
    switch (selection.kind()) {
    case FolderSelectionConfirmation::Kind::replaceWithHome:
        folders_.set({homeFolder_});
        syncStatus_.set(allFoldersSelected);
        break;
    case FolderSelectionConfirmation::Kind::replaceWithRoot:
        folders_.set({rootFolder_});
        syncStatus_.set(allFilesSelected);
        break;
    case FolderSelectionConfirmation::Kind::replaceWithSpecificFolder:
        folders_.set({selection.path()});
        syncStatus_.set("Replaced the all-folders selection with a specific folder.");
        break;
    }
}

} // namespace veskline
