#include "interface/adapter/FolderChooser.h"

#include <QDir>
#include <QFile>
#include <QPointer>

#include <utility>

namespace veskline {

FolderPicker FolderChooser::picker() {
    return [self = QPointer(this)](std::function<void(std::optional<std::string> path)> answer) {
        if (self) {
            self->waiting_ = std::move(answer);
            Q_EMIT self->asked();
        }
    };
}

QUrl FolderChooser::firstFolder() {
    return QUrl::fromLocalFile(QDir::homePath());
}

void FolderChooser::choose(const QUrl& folder) {
    const QByteArray path = QFile::encodeName(folder.toLocalFile());
    answer(path.isEmpty() ? std::nullopt : std::optional(path.toStdString()));
}

void FolderChooser::cancel() {
    answer(std::nullopt);
}

void FolderChooser::answer(const std::optional<std::string>& path) {
    if (const auto waiting = std::exchange(waiting_, nullptr)) {
        waiting(path);
    }
}

} // namespace veskline
