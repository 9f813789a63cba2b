#include "model/DesktopAppModel.h"
#include "platform/async/Cancelled.h"
#include "platform/async/TaskGroup.h"
#include "platform/text/ErrorDescription.h"

#include <exception>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace veskline {

namespace {

constexpr std::chrono::seconds pollingPeriod{60};

} // namespace

async::Task<> DesktopAppModel::startSync() {
    syncStatus_.set("");
    retryStatus_.set("");
    const std::uint64_t stopsBefore = stopsAsked_;
    try {
        co_await collaborators_->syncCoordinator.startSync(folders_(), mode_());
    } catch (const std::exception& error) {
        syncStatus_.set(platform::describe(error));
        co_return;
    }
    if (stopsAsked_ == stopsBefore) {
        isRunning_.set(true);
        syncStatus_.set("Running");
    }
    co_await refreshRemoteState();
    restartRemoteStatusPollingIfNeeded();
}

async::Task<> DesktopAppModel::stopSync() {
    ++stopsAsked_;
    co_await collaborators_->syncCoordinator.stopSync();
    isRunning_.set(false);
    syncStatus_.set("Stopped");
    co_await refreshRemoteState();
}

async::Task<> DesktopAppModel::retryFailedUploads() {
    retryStatus_.set("");
    try {
        const std::int64_t count = co_await collaborators_->client.retryFailedUploads();
        retryStatus_.set("Retried " + std::to_string(count) + " upload(s).");
    } catch (const std::exception& error) {
        retryStatus_.set(platform::describe(error));
        co_return;
    }
    co_await refreshRemoteState();
}

async::Task<> DesktopAppModel::refreshStatus() {
    co_await refreshRemoteState();
}

// The two fields are always replaced together: an outage shows as an unknown status and an empty list.
async::Task<> DesktopAppModel::refreshRemoteState() {
    const std::optional<StoredUser> user = currentUser_();
    std::optional<IngestStatusSnapshot> status;
    std::vector<FailedUploadItem> uploads;
    if (user) {
        const SupabaseHTTPClient& client = collaborators_->client;
        try {
            std::tie(status, uploads) =
                co_await async::allInOrder(client.fetchIngestStatus(), client.fetchFailedUploads(100));
        } catch (const std::exception&) {
            status.reset();
        }
    }
    // Whoever signed out meanwhile has nothing to see, and another user not this.
    const bool isKnown = status && currentUser_() == user;
    ingestStatus_.set(isKnown ? status : std::nullopt);
    failedUploads_.set(isKnown ? std::move(uploads) : std::vector<FailedUploadItem>());
}

void DesktopAppModel::restartRemoteStatusPollingIfNeeded() {
    cancelStatusRefresh();
    if (!currentUser_()) {
        return;
    }
    statusRefreshTask_ = async::spawn(surroundings_.main, [weak = weak_from_this()]() -> async::Task<> {
        if (const std::shared_ptr<DesktopAppModel> model = weak.lock()) {
            co_await model->pollRemoteStatus();
        }
    });
}

void DesktopAppModel::cancelStatusRefresh() {
    statusRefreshTask_.cancel();
    statusRefreshTask_ = {};
}

// Until its task is cancelled. A failed refresh neither ends nor slows it.
async::Task<> DesktopAppModel::pollRemoteStatus() {
    const async::Context self = co_await async::currentContext();
    while (!self.isCancelled()) {
        co_await refreshRemoteState();
        try {
            co_await surroundings_.clock.sleepFor(pollingPeriod);
        } catch (const async::Cancelled&) {
            co_return;
        }
    }
}

void DesktopAppModel::openDashboard() {
    if (user_.openURL) {
        user_.openURL(config_.dashboardURL);
    }
}

} // namespace veskline
