#pragma once

#include "interface/adapter/DesktopModelAdapter.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QtQmlIntegration>

namespace veskline {

// The last `lineLimit` lines of the activity log as rows for a list view, all of them where it is 0. Each time the log
// is told of, there is at most one removal at the front and one insertion at the end.
//
// For a glance, `pause` milliseconds lie between two changes at least: of few rows each change replaces all, and the
// layout of a row takes longer than all else that the window does for a line.
class LogLines : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(veskline::DesktopModelAdapter* source READ source WRITE setSource NOTIFY sourceChanged REQUIRED)
    Q_PROPERTY(int lineLimit READ lineLimit WRITE setLineLimit NOTIFY lineLimitChanged)
    Q_PROPERTY(int pause MEMBER pause_)

public:
    enum Role { LineRole = Qt::UserRole + 1 };

    explicit LogLines(QObject* parent = nullptr);

    [[nodiscard]] DesktopModelAdapter* source() const { return source_; }
    void setSource(DesktopModelAdapter* source);
    [[nodiscard]] int lineLimit() const { return lineLimit_; }
    void setLineLimit(int lineLimit);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void sourceChanged();
    void lineLimitChanged();

private:
    [[nodiscard]] qsizetype mostLines() const;
    void reset();
    void takeNews(const QStringList& lines);
    void catchUp();
    void append(const QStringList& lines);

    QPointer<DesktopModelAdapter> source_;
    int lineLimit_ = 0;
    int pause_ = 0;
    QTimer pauseTimer_;
    qsizetype linesBehind_ = 0;
    QStringList lines_;
};

} // namespace veskline
