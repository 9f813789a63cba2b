#include "endurance/Life.h"

#include "rules/DirectoryEventStream.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QQuickWindow>
#include <QTimer>

#include <array>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace veskline::endurance {

namespace {

using namespace std::chrono_literals;

// A made second takes about so much of a real one.
constexpr auto secondOfLife = 3ms;
constexpr auto patience = 120s;

// A loop of its own, as the program's: what is to be deleted later is deleted by no other.
void pump(std::chrono::milliseconds span) {
    QEventLoop loop;
    QTimer::singleShot(span, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

Life::Life(const std::filesystem::path& folder, HostedSide& hosted, std::uint32_t seed)
    : hosted_(hosted), random_(seed), documents_(folder / "documents", random_),
      window_(QString::fromStdString((folder / "window.ini").string())) {
    model_ = DesktopAppModel::create(
        surroundings(),
        {.folderPicker = [this](const auto& answer) { answer(documents_.root().string()); }, .openURL = {}});
}

// Changes are told as much faster as the made time is.
AppSurroundings Life::surroundings() {
    AppSurroundings surroundings = process_.surroundings();
    surroundings.clock = clock_.clock();
    surroundings.watchFolders = [main = surroundings.main](std::vector<std::string> roots,
                                                           DirectoryEventStream::PathsHandler onPathsChanged) {
        const DirectoryEventStream::Options options{.latency = secondOfLife, .lookInterval = 60 * secondOfLife};
        const auto stream = std::make_shared<DirectoryEventStream>(std::move(roots), main, options);
        stream->onPathsChanged = std::move(onPathsChanged);
        stream->start();
        return SyncCoordinator::EventStream{.stop = [stream] { stream->stop(); }};
    };
    return surroundings;
}

void Life::begin() {
    model_->observe([this](ModelField field) {
        if (field == ModelField::logLines && !model_->logLines().empty() &&
            model_->logLines().back().starts_with("Summary: ")) {
            summary_ = model_->logLines().back();
            ++scans_;
        }
    });
    window_.show(model_);
    until("the bootstrap", [this] { return model_->didBootstrap(); });
    model_->setEmail(HostedSide::email);
    model_->setPassword(HostedSide::password);
    run(&DesktopAppModel::login);
    model_->addFolder();
    model_->setMode(SyncMode::ultra);
    if (sync().empty() || !model_->isRunning()) {
        throw std::runtime_error("The first scan did not end: " + model_->syncStatus() + model_->authStatus());
    }
}

void Life::passMinute(int minute) {
    moveService(minute);
    useWindow();
    useAccount(minute);
    for (int second = 0; second < 60; ++second) {
        if (chance(20)) {
            documents_.change();
        }
        clock_.advance(1s);
        pump(secondOfLife);
    }
}

void Life::useWindow() {
    constexpr std::array screens{"overview", "sync", "activity"};
    constexpr std::array speeds{SyncMode::regular, SyncMode::ultra};
    if (chance(3)) {
        auto* const state = window_.window()->property("windowState").value<QObject*>();
        state->setProperty("selectedDestinationRawValue", screens.at(random_() % screens.size()));
    }
    if (chance(15)) {
        window_.window()->resize(1120 + static_cast<int>(random_() % 400), 760 + static_cast<int>(random_() % 300));
    }
    if (chance(30)) {
        model_->setMode(speeds.at(random_() % speeds.size()));
    }
}

void Life::useAccount(int minute) {
    while (!isAway_ && !model_->currentUser()) {
        model_->setPassword(HostedSide::password);
        run(&DesktopAppModel::login);
    }
    if (!isAway_ && !model_->isRunning()) {
        run(&DesktopAppModel::startSync);
        ++starts_;
    }
    if (chance(15)) {
        run(&DesktopAppModel::refreshStatus);
    }
    if (chance(20)) {
        run(&DesktopAppModel::stopSync);
        run(&DesktopAppModel::startSync);
        ++starts_;
    }
    if (minute % 90 == 45) {
        run(&DesktopAppModel::signOut);
    }
    if (chance(60)) {
        run(&DesktopAppModel::retryFailedUploads);
    }
}

// Tokens last an hour; every second hour the service is away for five minutes.
void Life::moveService(int minute) {
    if (minute % 60 == 30) {
        hosted_.expireTokens();
    }
    if (minute % 120 == 101) {
        hosted_.beAway();
        isAway_ = true;
    } else if (minute % 120 == 106 || minute == 0) {
        hosted_.beFlaky();
        isAway_ = false;
    }
}

void Life::rest() {
    window_.window()->resize(1280, 860);
    window_.window()->property("windowState").value<QObject*>()->setProperty("selectedDestinationRawValue", "overview");
    pump(400ms);
}

std::string Life::lastSummary() {
    hosted_.beWell();
    model_->setMode(SyncMode::ultra);
    for (int round = 0; round < 2; ++round) {
        run(&DesktopAppModel::stopSync);
        std::ignore = sync();
    }
    return summary_;
}

std::string Life::sync() {
    summary_.clear();
    run(&DesktopAppModel::startSync);
    ++starts_;
    return summary_;
}

// To its end; where that waits for time, time passes.
void Life::run(async::Task<> (DesktopAppModel::*operation)()) {
    const async::TaskHandle task =
        async::spawn(model_->executor(), [model = model_, operation] { return ((*model).*operation)(); });
    until("the end of an operation", [&] {
        clock_.advance(100ms);
        return task.hasEnded();
    });
}

void Life::until(std::string_view what, const std::function<bool()>& isReached) {
    QElapsedTimer time;
    time.start();
    while (!isReached()) {
        if (time.elapsed() > std::chrono::milliseconds(patience).count()) {
            throw std::runtime_error("Waited in vain for " + std::string(what) + ".");
        }
        pump(1ms);
    }
}

} // namespace veskline::endurance
