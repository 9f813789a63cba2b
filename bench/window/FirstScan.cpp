#include "window/FirstScan.h"

#include "platform/async/Spawn.h"
#include "state/SessionStore.h"

#include <QEventLoop>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace bench {

using namespace veskline;

FirstScan::FirstScan(std::string documents, bool hasWindow, const std::string& windowState)
    : documents_(std::move(documents)) {
    signIn();
    if (hasWindow) {
        window_.emplace(QString::fromStdString(windowState));
    }
    const UserSurroundings user{.folderPicker = [this](const auto& answer) { answer(documents_); }, .openURL = {}};
    model_ = DesktopAppModel::create(process_.surroundings(), user);
}

// As an earlier life of the program has left it.
void FirstScan::signIn() {
    const async::Executor pool = process_.surroundings().pool;
    SessionStore store(pool);
    const StoredSession session{
        .accessToken = "access", .refreshToken = "refresh", .user = StoredUser{.id = "u", .email = "you@example.com"}};
    async::runBlocking(pool, [&] { return store.save(session); });
}

void FirstScan::run() {
    if (window_) {
        window_->show(model_);
        frames_.emplace(*window_->window());
    }
    await(&DesktopAppModel::bootstrap);
    model_->addFolder();
    model_->setMode(SyncMode::ultra);
    const auto start = std::chrono::steady_clock::now();
    await(&DesktopAppModel::startSync);
    duration_ = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    const std::vector<std::string>& log = model_->logLines();
    const auto isWhole = [](const std::string& line) {
        return line.starts_with("Summary: ") && line.ends_with(" failed 0.");
    };
    if (!model_->isRunning() || std::ranges::none_of(log, isWhole)) {
        throw std::runtime_error("the scan is not whole: " + model_->syncStatus());
    }
}

void FirstScan::await(async::Task<> (DesktopAppModel::*operation)()) {
    QEventLoop loop;
    const async::TaskHandle task = async::spawn(model_->executor(), [&]() -> async::Task<> {
        co_await ((*model_).*operation)(); // throws nothing
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
}

} // namespace bench
