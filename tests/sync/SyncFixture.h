#pragma once

#include "hosted/SupabaseHTTPClient.h"
#include "state/LocalDatabase.h"
#include "state/RetryQueueStore.h"
#include "state/SessionStore.h"
#include "sync/ServiceFixture.h"
#include "sync/SyncCoordinator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veskline::testing {

// The whole engine on one thread, with a folder of documents, its stores on a temporary folder and a hosted project in
// the test. Signed in as user "ann".
class SyncFixture : public ServiceFixture {
protected:
    static constexpr std::int64_t limit = 1000;

    SyncFixture() {
        project.signIn("ann");
        storeSession(StoredUser{.id = "ann", .email = "ann@example.com"});
        thread.run(
            [&] { return coordinator.setLogHandler([this](const std::string& line) { lines.push_back(line); }); });
        thread.run([&] {
            return coordinator.setIndexingHandler([this](const IndexingProgressSnapshot& p) { progress.push_back(p); });
        });
        thread.run([&] {
            return coordinator.setUnsupportedFilesHandler([this](std::int64_t count) { unsupported.push_back(count); });
        });
    }

    void storeSession(std::optional<StoredUser> user) {
        const StoredSession session{
            .accessToken = project.accessToken(), .refreshToken = project.refreshToken(), .user = std::move(user)};
        thread.run([&] { return sessionStore.save(session); });
    }

    std::string write(std::string_view name, std::string_view content) {
        return folder.write("documents/" + std::string(name), content);
    }
    void removeFile(std::string_view name) { std::filesystem::remove_all(root + "/" + std::string(name)); }
    void storePreference(const std::string& key, const std::string& value) {
        thread.run([&] { return database.setPreference(value, key); });
    }

    // A start to its end; gives the lines that it logged.
    std::vector<std::string> start(SyncMode mode = SyncMode::ultra) { return start({root}, mode); }
    std::vector<std::string> start(const std::vector<std::string>& roots, SyncMode mode = SyncMode::ultra) {
        lines.clear();
        const std::size_t before = project.journal().size();
        thread.run([&] { return coordinator.startSync(roots, mode); });
        project.forgetRequest(before, "GET /auth/v1/user"); // the drain's question for the user
        return lines;
    }
    // A start that goes on as the thread does.
    async::TaskHandle begin(const std::vector<std::string>& roots) {
        return async::spawn(thread.executor(), [this, roots] { return coordinator.startSync(roots, SyncMode::ultra); });
    }
    // The same, up to the first request whose text holds `part`: it stands until letGo().
    async::TaskHandle beginHeldAt(std::string part) {
        project.hold(std::move(part));
        const async::TaskHandle run = begin({root});
        thread.settle();
        return run;
    }
    void stop() {
        thread.run([&] { return coordinator.stopSync(); });
    }
    // A stop and a start, as a restart of the program does it for the engine.
    std::vector<std::string> restart() {
        stop();
        project.forgetJournal();
        return start();
    }

    std::optional<FileStateRow> rowOf(std::string_view name) {
        return thread.run([&] { return database.fileRecord(root + "/" + std::string(name)); });
    }
    std::vector<RetryQueueItem> queue() {
        return thread.run([&] { return retryQueue.read(); });
    }
    SyncStateSnapshot snapshot() {
        return thread.run([&] { return coordinator.restoreSnapshot(); });
    }
    [[nodiscard]] std::size_t countLines(std::string_view beginning) const {
        return static_cast<std::size_t>(
            std::ranges::count_if(lines, [&](const std::string& line) { return line.starts_with(beginning); }));
    }
    [[nodiscard]] std::string summary() const {
        const auto last = std::ranges::find_if(lines.rbegin(), lines.rend(),
                                               [](const std::string& line) { return line.starts_with("Summary: "); });
        return last == lines.rend() ? "no summary" : *last;
    }
    static std::string summaryOf(int uploaded, int skipped, int deleted, int failed) {
        return "Summary: uploaded " + std::to_string(uploaded) + ", skipped " + std::to_string(skipped) + ", deleted " +
               std::to_string(deleted) + ", failed " + std::to_string(failed) + ".";
    }

    const std::string root = folder.makeFolder("documents");
    SessionStore sessionStore{thread.executor(), StorePlace{folder.at("session.json")}, std::nullopt};
    LocalDatabase database{thread.executor(), StorePlace{folder.at("state.sqlite3")}, std::nullopt};
    RetryQueueStore retryQueue{thread.executor(), StorePlace{folder.at("retry-queue.json")}, std::nullopt};
    PublicConfig config{.supabaseURL = "https://project.example",
                        .supabaseAnonKey = "public-key",
                        .dashboardURL = "https://dashboard.example",
                        .maxUploadBytes = limit};
    SupabaseHTTPClient client{config, sessionStore, project.transport(), thread.executor()};
    SyncCoordinator coordinator{config,
                                client,
                                database,
                                retryQueue,
                                sessionStore,
                                SyncCoordinator::Surroundings{.pool = thread.executor(),
                                                              .main = main.executor(),
                                                              .clock = thread.clock(),
                                                              .watchFolders = stream.watcher()}};

    std::vector<std::string> lines;
    std::vector<IndexingProgressSnapshot> progress;
    std::vector<std::int64_t> unsupported;
};

} // namespace veskline::testing
