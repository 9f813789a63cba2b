#include "model/DesktopAppModel.h"

#include "platform/async/PostCall.h"
#include "platform/async/Spawn.h"
#include "platform/files/HomeFolder.h"
#include "state/PublicConfigLoader.h"

#include <utility>

namespace veskline {

namespace {

// Makes a handler that may be called on any thread: it hands `write` and its value over as a job of the main thread,
// which does nothing when the model has gone by then.
template <class Value, class Write>
std::function<void(Value)> handedOver(async::Executor main, std::weak_ptr<DesktopAppModel> model, Write write) {
    return [main, model = std::move(model), write](Value value) {
        async::postCall(main, [model, write, value = std::move(value)]() mutable {
            if (const std::shared_ptr<DesktopAppModel> alive = model.lock()) {
                write(*alive, std::move(value));
            }
        });
    };
}

} // namespace

std::shared_ptr<DesktopAppModel> DesktopAppModel::create(AppSurroundings surroundings, UserSurroundings user) {
    PublicConfig config = PublicConfigLoader::load();
    std::shared_ptr<DesktopAppModel> model(new DesktopAppModel(surroundings, std::move(user), std::move(config)));
    model->wireHandlers();
    return model;
}

DesktopAppModel::DesktopAppModel(AppSurroundings surroundings, UserSurroundings user, PublicConfig config)
    : surroundings_(surroundings), user_(std::move(user)), config_(std::move(config)),
      homeFolder_(platform::homeFolder()), rootFolder_("/"),
      collaborators_(std::make_shared<Collaborators>(config_, surroundings_)) {}

DesktopAppModel::~DesktopAppModel() {
    cancelStatusRefresh();
}

// Runs beside everything else: lines that the engine logs before it has got its handler are lost.
void DesktopAppModel::wireHandlers() {
    const async::Executor main = surroundings_.main;
    const std::weak_ptr<DesktopAppModel> weak = weak_from_this();
    auto onLog = handedOver<std::string>(
        main, weak, [](DesktopAppModel& model, std::string line) { model.appendLog(std::move(line)); });
    auto onIndexing =
        handedOver<IndexingProgressSnapshot>(main, weak, [](DesktopAppModel& model, IndexingProgressSnapshot progress) {
            model.showIndexingProgress(progress);
        });
    auto onUnsupported = handedOver<std::int64_t>(
        main, weak, [](DesktopAppModel& model, std::int64_t count) { model.showUnsupportedFilesCount(count); });
    wiring_ = async::spawn(main, [collaborators = collaborators_, onLog, onIndexing, onUnsupported]() -> async::Task<> {
        SyncCoordinator& coordinator = collaborators->syncCoordinator;
        co_await coordinator.setLogHandler(onLog);
        co_await coordinator.setIndexingHandler(onIndexing);
        co_await coordinator.setUnsupportedFilesHandler(onUnsupported);
    });
}

void DesktopAppModel::appendLog(std::string line) {
    logLines_.change([&line](std::vector<std::string>& lines) {
        lines.push_back(std::move(line));
        if (lines.size() > mostLogLines) {
            lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(mostLogLines));
        }
    });
}

} // namespace veskline
