#pragma once

#include "app/Process.h"
#include "interface/DesktopWindow.h"
#include "local_project/LocalProject.h"
#include "model/DesktopAppModel.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace veskline {

// The real program on a stage of its own: its window over a real model, whose hosted side is a local project in this
// process, with state, settings, home folder and documents under one folder. Lives on the main thread, one at a time,
// after the application object; the environment of the process is its own. The process is left by std::quick_exit.
class Stage {
public:
    static constexpr const char* password = "correct-horse-battery";
    static constexpr std::chrono::seconds patience{60};

    // Serves the project, with an account for `email`. `folder` is made where it is missing.
    explicit Stage(std::filesystem::path folder, std::string email = "maria.example@northwind.test");
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // A new start of the program on the same state; the program before it is over.
    void launch();

    [[nodiscard]] AppSurroundings surroundings() { return process_.surroundings(); }
    [[nodiscard]] local_project::LocalProject& project() { return project_; }
    [[nodiscard]] const std::shared_ptr<DesktopAppModel>& model() const { return model_; }
    [[nodiscard]] DesktopWindow& window() { return *window_; }
    [[nodiscard]] const std::string& email() const { return email_; }
    [[nodiscard]] std::filesystem::path home() const { return folder_ / "maria"; }
    // Addresses that the program had the browser open.
    [[nodiscard]] const std::deque<std::string>& openedAddresses() const { return opened_; }

    void writeDocument(const std::filesystem::path& pathInHome, std::string_view content);
    // What the next folder dialogs answer, one after the other.
    void pickNext(const std::filesystem::path& folder) { picks_.push_back(folder.string()); }

    // Runs an operation of the model to its end.
    void run(async::Task<> (DesktopAppModel::*operation)());
    // Starts one that goes on by itself.
    async::TaskHandle start(async::Task<> (DesktopAppModel::*operation)());
    void signIn();
    // Picks folders of the home folder.
    void choose(const std::vector<std::filesystem::path>& foldersInHome);

    // Lets the program run until `isReached`. Throws std::runtime_error naming `what` where that takes too long.
    void until(std::string_view what, const std::function<bool()>& isReached);
    // Until the hosted worker has nothing left to do; then the model reads its status.
    void untilIngested();

private:
    [[nodiscard]] UserSurroundings userSurroundings();

    std::filesystem::path folder_;
    std::string email_;
    local_project::LocalProject project_;
    Process process_;
    std::deque<std::string> picks_;
    std::deque<std::string> opened_;
    std::unique_ptr<DesktopWindow> window_;
    std::shared_ptr<DesktopAppModel> model_;
};

} // namespace veskline
