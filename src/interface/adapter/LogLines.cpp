#include "interface/adapter/LogLines.h"

#include <algorithm>
#include <utility>

namespace veskline {

LogLines::LogLines(QObject* parent) : QAbstractListModel(parent) {
    pauseTimer_.setSingleShot(true);
    connect(&pauseTimer_, &QTimer::timeout, this, &LogLines::catchUp);
}

void LogLines::setSource(DesktopModelAdapter* source) {
    if (source == source_) {
        return;
    }
    if (source_) {
        source_->disconnect(this);
    }
    source_ = source;
    if (source_) {
        connect(source_, &DesktopModelAdapter::logAppended, this, &LogLines::takeNews);
    }
    reset();
    Q_EMIT sourceChanged();
}

void LogLines::setLineLimit(int lineLimit) {
    if (lineLimit == lineLimit_) {
        return;
    }
    lineLimit_ = lineLimit;
    reset();
    Q_EMIT lineLimitChanged();
}

qsizetype LogLines::mostLines() const {
    return lineLimit_ > 0 ? lineLimit_ : static_cast<qsizetype>(DesktopAppModel::mostLogLines);
}

void LogLines::reset() {
    beginResetModel();
    linesBehind_ = 0;
    lines_ = source_ ? source_->logLines() : QStringList();
    lines_.remove(0, std::max<qsizetype>(0, lines_.size() - mostLines()));
    endResetModel();
}

void LogLines::takeNews(const QStringList& lines) {
    linesBehind_ += lines.size();
    if (!pauseTimer_.isActive()) {
        catchUp();
    }
}

void LogLines::catchUp() {
    if (source_ && linesBehind_ > 0) {
        const QStringList& all = source_->logLines();
        append(all.last(std::min(std::exchange(linesBehind_, 0), all.size())));
        if (pause_ > 0) {
            pauseTimer_.start(pause_);
        }
    }
}

void LogLines::append(const QStringList& lines) {
    const QStringList added = lines.last(std::min(lines.size(), mostLines()));
    const auto surplus = static_cast<int>(lines_.size() + added.size() - mostLines());
    if (surplus > 0) {
        beginRemoveRows({}, 0, surplus - 1);
        lines_.remove(0, surplus);
        endRemoveRows();
    }
    if (!added.isEmpty()) {
        const auto first = static_cast<int>(lines_.size());
        beginInsertRows({}, first, first + static_cast<int>(added.size()) - 1);
        lines_ += added;
        endInsertRows();
    }
}

int LogLines::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(lines_.size());
}

QVariant LogLines::data(const QModelIndex& index, int role) const {
    return role == LineRole && checkIndex(index, CheckIndexOption::IndexIsValid) ? lines_.at(index.row()) : QVariant();
}

QHash<int, QByteArray> LogLines::roleNames() const {
    return {{LineRole, "line"}};
}

} // namespace veskline
