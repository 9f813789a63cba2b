#pragma once

#include "model/DesktopAppModel.h"
#include "state/EnvironmentVariable.h"
#include "sync/ServiceFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace veskline::testing {

// The application model on one thread, over a state folder of its own and a hosted project in the test.
class ModelFixture : public ServiceFixture {
protected:
    [[nodiscard]] AppSurroundings surroundings() {
        return AppSurroundings{.main = main.executor(),
                               .pool = thread.executor(),
                               .clock = thread.clock(),
                               .urlSession = project.transport(),
                               .watchFolders = stream.watcher()};
    }
    ~ModelFixture() override { quit(); }

    // A new start of the program on the same state.
    void launch() {
        quit();
        model = DesktopAppModel::create(surroundings());
        model->observe([this](ModelField field) { writes.push_back(field); });
        thread.settle();
    }
    // The end of the program; the user signs out, since the polling keeps the model.
    void quit() {
        if (model) {
            run(&DesktopAppModel::signOut);
            model.reset();
        }
    }
    // The same with all that the last run left, up to the end of the sync's first scan.
    void launchRunning() {
        quit();
        storeSession();
        storeSelection();
        launch();
        run(&DesktopAppModel::bootstrap);
    }
    [[nodiscard]] std::ptrdiff_t timesLogged(std::string_view line) const {
        return std::ranges::count(model->logLines(), line);
    }
    // Starts an operation of the model as a button does; it goes on as the thread does.
    template <class Operation>
    async::TaskHandle begin(Operation operation) {
        return async::spawn(main.executor(), [held = model, operation] { return ((*held).*operation)(); });
    }
    template <class Operation>
    void run(Operation operation) {
        const async::TaskHandle task = begin(operation);
        thread.run([&]() -> async::Task<> { co_await task.end(); });
        thread.settle();
    }
    // What the last run left: ann's session, and a sync of the folder "documents" with one document in it.
    void storeSelection() {
        folder.write("documents/a.txt", "a");
        LocalDatabase database(thread.executor());
        StoredSelection selection(database);
        thread.run([&] { return selection.write({folder.at("documents")}, SyncMode::ultra); });
    }
    void storeSession() {
        project.signIn("ann");
        SessionStore store(thread.executor());
        const StoredSession session{project.accessToken(), project.refreshToken(),
                                    StoredUser{.id = "ann", .email = {}}};
        thread.run([&] { return store.save(session); });
    }
    [[nodiscard]] std::optional<StoredSession> storedSession() {
        SessionStore store(thread.executor());
        return thread.run([&] { return store.load(); });
    }
    EnvironmentVariable stateFolder{"VESK_STATE_DIR", folder.at("state")};
    EnvironmentVariable home{"HOME", folder.string()};
    EnvironmentVariable url{"SUPABASE_URL", "https://project.example"};
    EnvironmentVariable key{"SUPABASE_ANON_KEY", "public-key"};
    EnvironmentVariable dashboard{"DASHBOARD_URL", "https://dashboard.example"};
    std::vector<ModelField> writes;
    std::shared_ptr<DesktopAppModel> model;
};

} // namespace veskline::testing
