#include "model/AuthFlowResolver.h"
#include "model/DesktopAppModel.h"
#include "platform/text/ErrorDescription.h"

#include <exception>
#include <utility>

namespace veskline {

async::Task<> DesktopAppModel::bootstrap() {
    if (didBootstrap_()) {
        co_return;
    }
    didBootstrap_.set(true);
    const SyncStateSnapshot snapshot = co_await collaborators_->syncCoordinator.restoreSnapshot();
    currentUser_.set(snapshot.user);
    folders_.set(snapshot.folders);
    mode_.set(snapshot.mode);
    isRunning_.set(snapshot.running);
    if (snapshot.autoStart && !snapshot.folders.empty() && snapshot.user) {
        co_await autoStart(snapshot.folders, snapshot.mode);
    }
    co_await refreshRemoteState();
    restartRemoteStatusPollingIfNeeded();
}

// Returns when the initial scan is over. A start that a stop has overtaken says nothing of running.
async::Task<> DesktopAppModel::autoStart(std::vector<std::string> folders, SyncMode mode) {
    const std::uint64_t stopsBefore = stopsAsked_;
    try {
        co_await collaborators_->syncCoordinator.startSync(std::move(folders), mode);
        if (stopsAsked_ == stopsBefore) {
            isRunning_.set(true);
        }
    } catch (const std::exception& error) {
        syncStatus_.set(platform::describe(error));
        appendLog("Auto-start failed: " + platform::describe(error));
    }
}

async::Task<> DesktopAppModel::login() {
    setAuthStatus("");
    try {
        const StoredSession session = co_await collaborators_->client.signIn(email_(), password_());
        currentUser_.set(session.user);
        setAuthStatus("Signed in");
        appendLog("Logged in as " + AuthFlowResolver::userLogLabel(session.user));
        co_await refreshRemoteState();
        restartRemoteStatusPollingIfNeeded();
        password_.set("");
    } catch (const std::exception& error) {
        setAuthStatus(platform::describe(error), StatusPillKind::error);
    }
}

async::Task<> DesktopAppModel::signup() {
    setAuthStatus("");
    SignupResolution resolution;
    try {
        const SignupAnswer answer = co_await collaborators_->client.signUp(email_(), password_());
        resolution = AuthFlowResolver::resolveSignup(answer.session, answer.user);
    } catch (const std::exception& error) {
        setAuthStatus(platform::describe(error), StatusPillKind::error);
        co_return;
    }
    currentUser_.set(resolution.currentUser);
    setAuthStatus(resolution.authStatus);
    if (resolution.logLine) {
        appendLog(*resolution.logLine);
    }
    if (resolution.clearPersistedSession) {
        co_await leaveSession();
    } else {
        co_await refreshRemoteState();
        restartRemoteStatusPollingIfNeeded();
    }
    if (resolution.clearPassword) {
        password_.set("");
    }
}

void DesktopAppModel::setAuthStatus(std::string text, StatusPillKind kind) {
    authStatusKind_ = kind; // before the observers hear of the text
    authStatus_.set(std::move(text));
}

// The account that was just made waits for its confirmation: whoever was signed in before is so no longer.
async::Task<> DesktopAppModel::leaveSession() {
    ++stopsAsked_;
    co_await collaborators_->sessionStore.clear();
    co_await collaborators_->syncCoordinator.stopSync();
    isRunning_.set(false);
    resetHostedFields();
    syncStatus_.set("");
    cancelStatusRefresh();
}

async::Task<> DesktopAppModel::signOut() {
    ++stopsAsked_;
    cancelStatusRefresh();
    co_await collaborators_->syncCoordinator.signOut();
    currentUser_.set(std::nullopt);
    isRunning_.set(false);
    resetHostedFields();
    pendingFolderSelectionConfirmation_.set(std::nullopt);
    setAuthStatus("Signed out");
    syncStatus_.set("");
}

// What was known of the hosted side belongs to the user who has left.
void DesktopAppModel::resetHostedFields() {
    ingestStatus_.set(std::nullopt);
    failedUploads_.set({});
    retryStatus_.set("");
    unsupportedFilesCount_.set(0);
    indexingProgress_.set(IndexingProgressSnapshot::idle);
}

} // namespace veskline
