#pragma once

#include "model/DesktopAppModel.h"
#include "support/InProcessProject.h"
#include "support/OneThread.h"
#include "support/ScriptedEventStream.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace veskline::testing {

// A variable of the process's environment, as it was again when the test ends.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const std::string& value) : name_(name) {
        if (const char* const before = std::getenv(name)) {
            before_ = before;
        }
        ::setenv(name, value.c_str(), 1);
    }
    ~EnvironmentVariable() {
        if (before_) {
            ::setenv(name_, before_->c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

// The application model on one thread, over a state folder of its own and a hosted project in the test.
class ModelFixture : public ::testing::Test {
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
    // The end of the program, but for the polling, which keeps the model and so has to be ended.
    void quit() {
        if (model) {
            const std::optional<StoredSession> session = storedSession();
            run(&DesktopAppModel::signOut);
            model.reset();
            if (session) {
                SessionStore store(thread.executor());
                thread.run([&] { return store.save(*session); });
            }
        }
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
    void storeSelection(std::vector<std::string> folders, SyncMode mode) {
        LocalDatabase database(thread.executor());
        StoredSelection selection(database);
        thread.run([&] { return selection.write(folders, mode); });
    }
    [[nodiscard]] std::optional<StoredSession> storedSession() {
        SessionStore store(thread.executor());
        return thread.run([&] { return store.load(); });
    }
    void storeSession() {
        SessionStore store(thread.executor());
        const StoredSession session{.accessToken = project.accessToken(),
                                    .refreshToken = project.refreshToken(),
                                    .user = StoredUser{.id = project.userID(), .email = std::nullopt}};
        thread.run([&] { return store.save(session); });
    }

    TemporaryFolder folder;
    EnvironmentVariable stateFolder{"VESK_STATE_DIR", folder.at("state")};
    EnvironmentVariable home{"HOME", folder.string()};
    EnvironmentVariable url{"SUPABASE_URL", "https://project.example"};
    EnvironmentVariable key{"SUPABASE_ANON_KEY", "public-key"};
    EnvironmentVariable dashboard{"DASHBOARD_URL", "https://dashboard.example"};
    OneThread thread;
    async::SerialExecutor main{thread.executor()};
    InProcessProject project{thread.executor()};
    ScriptedEventStream stream;
    std::vector<ModelField> writes;
    std::shared_ptr<DesktopAppModel> model;
};

} // namespace veskline::testing
