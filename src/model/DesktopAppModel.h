#pragma once

#include "model/Collaborators.h"
#include "model/FolderSelectionConfirmation.h"
#include "model/Observable.h"
#include "model/StatusPill.h"
#include "model/UserSurroundings.h"
#include "platform/async/Spawn.h"
#include "state/records/FailedUploadItem.h"
#include "state/records/IndexingProgressSnapshot.h"
#include "state/records/IngestStatusSnapshot.h"
#include "state/records/PublicConfig.h"
#include "state/records/StoredUser.h"
#include "state/records/SyncMode.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace veskline {

// The application model: the state that every screen shows and the operations that a user has. One instance, created
// once, shared; the window reads its fields, calls its operations and sees nothing below it.
//
// Everything here runs on the main thread: every field is read and written there, and asynchronous operations give it
// up only at their waits. What the engine reports comes in as jobs of the main thread, one an event.
//
// No operation throws. A failure becomes its description in one of three status fields: `authStatus` for sign-in,
// `syncStatus` for folders and sync control, `retryStatus` for retries; an empty one has nothing to say.
//
// Held by shared_ptr: whoever starts an operation holds the model until it has ended, jobs that the engine posts hold
// it weakly, and the last owner lets it go on the main thread.
class DesktopAppModel : public std::enable_shared_from_this<DesktopAppModel> {
public:
    using FolderSelectionConfirmation = veskline::FolderSelectionConfirmation;

    static constexpr std::size_t mostLogLines = 300;

    // Loads the public configuration, then builds the collaborators. Throws what either throws, in words for the user;
    // without a configuration no store is opened and no request made.
    [[nodiscard]] static std::shared_ptr<DesktopAppModel> create(AppSurroundings surroundings,
                                                                 UserSurroundings user = {});

    ~DesktopAppModel();
    DesktopAppModel(const DesktopAppModel&) = delete;
    DesktopAppModel& operator=(const DesktopAppModel&) = delete;

    [[nodiscard]] async::Executor executor() const noexcept { return surroundings_.main; }

    // Told of every write to an observable field, also of a value that it held already.
    void observe(ModelObserver observer) { observers_.add(std::move(observer)); }

    [[nodiscard]] const std::string& email() const { return email_(); }
    [[nodiscard]] const std::string& password() const { return password_(); }
    [[nodiscard]] const std::optional<StoredUser>& currentUser() const { return currentUser_(); }
    [[nodiscard]] const std::vector<std::string>& folders() const { return folders_(); }
    [[nodiscard]] SyncMode mode() const { return mode_(); }
    [[nodiscard]] bool isRunning() const { return isRunning_(); }
    [[nodiscard]] const std::string& authStatus() const { return authStatus_(); }
    [[nodiscard]] const std::string& syncStatus() const { return syncStatus_(); }
    [[nodiscard]] const std::string& retryStatus() const { return retryStatus_(); }
    // Oldest first, at most 300, each as it was handed in.
    [[nodiscard]] const std::vector<std::string>& logLines() const { return logLines_(); }
    [[nodiscard]] bool didBootstrap() const { return didBootstrap_(); }
    [[nodiscard]] const std::optional<IngestStatusSnapshot>& ingestStatus() const { return ingestStatus_(); }
    [[nodiscard]] const std::vector<FailedUploadItem>& failedUploads() const { return failedUploads_(); }
    [[nodiscard]] std::int64_t unsupportedFilesCount() const { return unsupportedFilesCount_(); }
    [[nodiscard]] const IndexingProgressSnapshot& indexingProgress() const { return indexingProgress_(); }
    [[nodiscard]] const std::optional<FolderSelectionConfirmation>& pendingFolderSelectionConfirmation() const {
        return pendingFolderSelectionConfirmation_();
    }
    [[nodiscard]] const PublicConfig& config() const { return config_; }
    // Standing for all folders and for all files in a selection. Fixed for the life of the process.
    [[nodiscard]] const std::string& homeFolder() const { return homeFolder_; }
    [[nodiscard]] const std::string& rootFolder() const { return rootFolder_; }

    void setEmail(std::string email) { email_.set(std::move(email)); }
    void setPassword(std::string password) { password_.set(std::move(password)); }
    void setMode(SyncMode mode) { mode_.set(mode); }

    // What the engine reports arrives by these, a job of the main thread each.
    void appendLog(std::string line);
    void showIndexingProgress(IndexingProgressSnapshot progress) { indexingProgress_.set(progress); }
    void showUnsupportedFilesCount(std::int64_t count) { unsupportedFilesCount_.set(count); }

    // Restores user, folders and mode, and starts the sync where it was ever started before and both are there. Once
    // in the life of the process: a later call does nothing.
    async::Task<> bootstrap();

    // Both use `email` and `password` as they stand.
    async::Task<> login();
    async::Task<> signup();

    // Folders, mode, e-mail and log survive it.
    async::Task<> signOut();

    // The selection of folders: kept here alone until a start hands it on, so a running sync goes on with its own.
    // Asks the user for a folder to add; while that dialog is open, another call does nothing.
    void addFolder();
    void chooseHomeFolder();
    void chooseRootFolder();
    void clearFolders();
    // What would throw a selection away waits for one of these; a new request replaces the one that waits.
    void confirmPendingFolderSelection();
    void cancelPendingFolderSelection();

    // Starts the sync of `folders` at `mode`; ends when the initial scan is over. Until then `isRunning` is false and
    // `syncStatus` empty. A start that a stop has overtaken says nothing of running.
    async::Task<> startSync();
    async::Task<> stopSync();

    // Puts the failed jobs of the hosted side back into its queue.
    async::Task<> retryFailedUploads();

    // Reads the hosted status once more. That happens by itself every 60 s while a user is signed in.
    async::Task<> refreshStatus();

    // In the user's browser, fire and forget.
    void openDashboard();

    // The words of the screens, derived from the fields (and the clock) at each call. "--" stands for what is unknown.
    [[nodiscard]] std::string userLabel() const;
    // `authStatus`, as an error where signing in or up failed.
    [[nodiscard]] StatusPillPresentation authPresentation() const;
    [[nodiscard]] StatusPillPresentation runPresentation() const;
    [[nodiscard]] StatusPillPresentation ingestPresentation() const;
    [[nodiscard]] std::string syncStatusLine() const;
    [[nodiscard]] static std::string supportedTypesText();
    // Absent where nothing was skipped.
    [[nodiscard]] std::optional<std::string> unsupportedIndicatorText() const;
    [[nodiscard]] std::string ingestQueuedText() const;
    [[nodiscard]] std::string ingestRunningText() const;
    [[nodiscard]] std::string ingestErrorsText() const;
    [[nodiscard]] std::string ingestLastText() const;
    [[nodiscard]] std::string indexRemainingText() const { return indexRemainingText(indexingProgress_()); }
    [[nodiscard]] static std::string indexRemainingText(const IndexingProgressSnapshot& progress);
    [[nodiscard]] std::string indexEtaText() const;
    [[nodiscard]] static std::string indexEtaText(const IndexingProgressSnapshot& progress, Time now);
    [[nodiscard]] std::string folderLabel(const std::string& path) const;
    // Rounded up to whole seconds: "59s", "1m 0s", "2h 2m".
    [[nodiscard]] static std::string formatDuration(double seconds);

private:
    struct FolderDialog {}; // an open one, held by whoever will answer it

    DesktopAppModel(AppSurroundings surroundings, UserSurroundings user, PublicConfig config);

    // DesktopAppModel.cpp
    void wireHandlers();

    // DesktopAppModelSignIn.cpp
    async::Task<> autoStart(std::vector<std::string> folders, SyncMode mode);
    async::Task<> leaveSession();
    void setAuthStatus(std::string text, StatusPillKind kind = StatusPillKind::muted);
    void resetHostedFields();

    // DesktopAppModelFolders.cpp
    void addPickedFolder(std::string path);
    [[nodiscard]] bool isOnlyFolder(const std::string& path) const;
    void replaceFolders(FolderSelectionConfirmation selection);
    void applyFolderSelection(FolderSelectionConfirmation selection);

    // DesktopAppModelSyncControl.cpp
    async::Task<> refreshRemoteState();
    void restartRemoteStatusPollingIfNeeded();
    void cancelStatusRefresh();
    async::Task<> pollRemoteStatus();

    AppSurroundings surroundings_;
    UserSurroundings user_;
    const PublicConfig config_;
    std::string homeFolder_;
    std::string rootFolder_;
    std::shared_ptr<Collaborators> collaborators_;

    ModelObservers observers_;
    Observable<std::string> email_{observers_, ModelField::email};
    Observable<std::string> password_{observers_, ModelField::password};
    Observable<std::optional<StoredUser>> currentUser_{observers_, ModelField::currentUser};
    Observable<std::vector<std::string>> folders_{observers_, ModelField::folders};
    Observable<SyncMode> mode_{observers_, ModelField::mode, SyncMode::regular};
    Observable<bool> isRunning_{observers_, ModelField::isRunning, false};
    Observable<std::string> authStatus_{observers_, ModelField::authStatus};
    Observable<std::string> syncStatus_{observers_, ModelField::syncStatus};
    Observable<std::string> retryStatus_{observers_, ModelField::retryStatus};
    Observable<std::vector<std::string>> logLines_{observers_, ModelField::logLines};
    Observable<bool> didBootstrap_{observers_, ModelField::didBootstrap, false};
    Observable<std::optional<IngestStatusSnapshot>> ingestStatus_{observers_, ModelField::ingestStatus};
    Observable<std::vector<FailedUploadItem>> failedUploads_{observers_, ModelField::failedUploads};
    Observable<std::int64_t> unsupportedFilesCount_{observers_, ModelField::unsupportedFilesCount, 0};
    Observable<IndexingProgressSnapshot> indexingProgress_{observers_, ModelField::indexingProgress,
                                                           IndexingProgressSnapshot::idle};
    Observable<std::optional<FolderSelectionConfirmation>> pendingFolderSelectionConfirmation_{
        observers_, ModelField::pendingFolderSelectionConfirmation};

    std::weak_ptr<FolderDialog> openFolderDialog_;
    StatusPillKind authStatusKind_ = StatusPillKind::muted;
    // How often a stop was asked for: a start that finds it changed has been overtaken.
    std::uint64_t stopsAsked_ = 0;
    async::TaskHandle wiring_;            // ends by itself, and holds no model
    async::TaskHandle statusRefreshTask_; // the polling, while a user is signed in
};
static_assert(async::Actor<DesktopAppModel>);

} // namespace veskline
