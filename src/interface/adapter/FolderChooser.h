#pragma once

#include "model/UserSurroundings.h"

#include <QObject>
#include <QUrl>
#include <QtQmlIntegration>

namespace veskline {

// Brings the model's question for a folder to the dialog in the window, and the dialog's answer back. One question at a
// time: a new one takes the place of one that was never answered. Made before the model, on the main thread.
class FolderChooser : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the window")
    // Where the dialog opens first: the user's home folder.
    Q_PROPERTY(QUrl firstFolder READ firstFolder CONSTANT)

public:
    using QObject::QObject;

    // What asks here. Without a window on `asked` nobody answers.
    [[nodiscard]] FolderPicker picker();

    [[nodiscard]] static QUrl firstFolder();
    Q_INVOKABLE void choose(const QUrl& folder);
    Q_INVOKABLE void cancel();

Q_SIGNALS:
    void asked();

private:
    void answer(const std::optional<std::string>& path);

    std::function<void(std::optional<std::string> path)> waiting_;
};

} // namespace veskline
