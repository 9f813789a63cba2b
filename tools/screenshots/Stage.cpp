#include "screenshots/Stage.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <utility>

namespace veskline {

namespace fs = std::filesystem;

Stage::Stage(fs::path folder, std::string email)
    : folder_(std::move(folder)), email_(std::move(email)),
      project_(local_project::Options{.data = folder_ / "project", .users = {{email_, password}}}) {
    fs::create_directories(home());
    project_.start();
    ::setenv("HOME", home().c_str(), 1);
    ::setenv("VESK_STATE_DIR", (folder_ / "state").c_str(), 1);
    ::setenv("SUPABASE_URL", project_.baseUrl().c_str(), 1);
    ::setenv("SUPABASE_ANON_KEY", project_.options().anonKey.c_str(), 1);
    ::setenv("DASHBOARD_URL", (project_.baseUrl() + "/").c_str(), 1);
    ::setenv("no_proxy", "127.0.0.1", 1);
}

void Stage::launch() {
    if (model_) {
        run(&DesktopAppModel::stopSync);
        window_.reset();
    }
    window_ = std::make_unique<DesktopWindow>(QString::fromStdString((folder_ / "window.ini").string()));
    model_ = DesktopAppModel::create(process_.surroundings(), userSurroundings());
    // The last field that the restored state is written to: what is done before that would be overwritten.
    const auto isRestored = std::make_shared<bool>(false);
    model_->observe([isRestored](ModelField field) { *isRestored = *isRestored || field == ModelField::isRunning; });
    window_->show(model_);
    until("the restored state", [&isRestored] { return *isRestored; });
}

UserSurroundings Stage::userSurroundings() {
    return UserSurroundings{.folderPicker =
                                [this](const std::function<void(std::optional<std::string>)>& answer) {
                                    if (picks_.empty()) {
                                        return answer(std::nullopt);
                                    }
                                    const std::string path = std::move(picks_.front());
                                    picks_.pop_front();
                                    answer(path);
                                },
                            .openURL = [this](std::string url) { opened_.push_back(std::move(url)); }};
}

void Stage::writeDocument(const fs::path& pathInHome, std::string_view content) {
    const fs::path path = home() / pathInHome;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

async::TaskHandle Stage::start(async::Task<> (DesktopAppModel::*operation)()) {
    return async::spawn(model_->executor(), [model = model_, operation] { return ((*model).*operation)(); });
}

void Stage::run(async::Task<> (DesktopAppModel::*operation)()) {
    const async::TaskHandle task = start(operation);
    until("the end of an operation", [&task] { return task.hasEnded(); });
}

void Stage::signIn() {
    model_->setEmail(email_);
    model_->setPassword(password);
    run(&DesktopAppModel::login);
}

void Stage::choose(const std::vector<fs::path>& foldersInHome) {
    for (const fs::path& folder : foldersInHome) {
        fs::create_directories(home() / folder);
        pickNext(home() / folder);
        model_->addFolder();
    }
}

void Stage::until(std::string_view what, const std::function<bool()>& isReached) {
    QElapsedTimer time;
    time.start();
    while (!isReached()) {
        if (time.elapsed() > std::chrono::milliseconds(patience).count()) {
            throw std::runtime_error("Waited in vain for " + std::string(what) + ".");
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
    }
}

void Stage::untilIngested() {
    until("the hosted worker", [this] {
        for (const auto& job : project_.state().at("jobs")) {
            if (job.at("status") == "queued" || job.at("status") == "running") {
                return false;
            }
        }
        return true;
    });
    run(&DesktopAppModel::refreshStatus);
}

} // namespace veskline
