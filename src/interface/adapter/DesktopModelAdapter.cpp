#include "interface/adapter/DesktopModelAdapter.h"

#include "model/DesktopPresentationFormatter.h"

#include <QPointer>

#include <algorithm>
#include <iterator>
#include <utility>

namespace veskline {

namespace {

QString shown(const std::string& text) {
    return QString::fromStdString(text);
}

std::size_t index(ModelField field) {
    return static_cast<std::size_t>(std::to_underlying(field));
}

} // namespace

DesktopModelAdapter::DesktopModelAdapter(std::shared_ptr<DesktopAppModel> model, QObject* parent)
    : QObject(parent), model_(std::move(model)) {
    flushTimer_.setSingleShot(true);
    flushTimer_.setTimerType(Qt::PreciseTimer);
    flushTimer_.setInterval(flushInterval);
    connect(&flushTimer_, &QTimer::timeout, this, &DesktopModelAdapter::flush);
    newLogLines_ = model_->logLines().size();
    flushLog();
    model_->observe([self = QPointer(this)](ModelField field) {
        if (self) {
            self->mark(field);
        }
    });
}

DesktopModelAdapter::~DesktopModelAdapter() {
    bootstrap_.cancel();
}

void DesktopModelAdapter::mark(ModelField field) {
    if (field == ModelField::logLines) {
        ++newLogLines_;
    }
    marked_.set(index(field));
    if (!flushTimer_.isActive()) {
        flushTimer_.start();
    }
}

void DesktopModelAdapter::flush() {
    const std::bitset<32> marked = std::exchange(marked_, {});
    for (std::size_t i = 0; i < marked.size(); ++i) {
        if (marked.test(i)) {
            tell(static_cast<ModelField>(i));
        }
    }
}

void DesktopModelAdapter::flushLog() {
    const std::vector<std::string>& lines = model_->logLines();
    const std::size_t count = std::min(std::exchange(newLogLines_, 0), lines.size());
    QStringList added;
    std::transform(lines.end() - static_cast<std::ptrdiff_t>(count), lines.end(), std::back_inserter(added), shown);
    logLines_ += added;
    logLines_.remove(0, std::max<qsizetype>(0, logLines_.size() - static_cast<qsizetype>(lines.size())));
    Q_EMIT logAppended(added);
}

void DesktopModelAdapter::tell(ModelField field) {
    switch (field) {
    case ModelField::email:
        return emailChanged();
    case ModelField::password:
        return passwordChanged();
    case ModelField::currentUser:
        return userChanged();
    case ModelField::folders:
        return foldersChanged();
    case ModelField::mode:
        return modeChanged();
    case ModelField::isRunning:
    case ModelField::syncStatus:
        return runChanged();
    case ModelField::authStatus:
        return authStatusChanged();
    case ModelField::retryStatus:
        return retryStatusChanged();
    case ModelField::logLines:
        return flushLog();
    case ModelField::didBootstrap:
        return;
    case ModelField::ingestStatus:
        return ingestStatusChanged();
    case ModelField::failedUploads:
        return failedUploadsChanged();
    case ModelField::unsupportedFilesCount:
        return unsupportedFilesCountChanged();
    case ModelField::indexingProgress:
        return indexingProgressChanged();
    case ModelField::pendingFolderSelectionConfirmation:
        return confirmationChanged();
    }
}

QString DesktopModelAdapter::email() const {
    return shown(model_->email());
}

void DesktopModelAdapter::setEmail(const QString& email) {
    model_->setEmail(email.toStdString());
}

QString DesktopModelAdapter::password() const {
    return shown(model_->password());
}

void DesktopModelAdapter::setPassword(const QString& password) {
    model_->setPassword(password.toStdString());
}

StatusPill DesktopModelAdapter::authPresentation() const {
    return StatusPill(model_->authPresentation());
}

bool DesktopModelAdapter::isSignedIn() const {
    return model_->currentUser().has_value();
}

QString DesktopModelAdapter::userLabel() const {
    return shown(model_->userLabel());
}

QStringList DesktopModelAdapter::folderLabels() const {
    QStringList labels;
    for (const std::string& folder : model_->folders()) {
        labels += shown(model_->folderLabel(folder));
    }
    return labels;
}

QString DesktopModelAdapter::folderCountText() const {
    return shown(DesktopPresentationFormatter::folderCountText(model_->folders().size()));
}

QString DesktopModelAdapter::folderSelectionSummary() const {
    return shown(DesktopPresentationFormatter::folderSelectionSummary(model_->folders(), model_->homeFolder(),
                                                                      model_->rootFolder()));
}

DesktopModelAdapter::Mode DesktopModelAdapter::mode() const {
    return model_->mode() == SyncMode::regular ? Regular : Ultra;
}

void DesktopModelAdapter::setMode(Mode mode) {
    model_->setMode(mode == Regular ? SyncMode::regular : SyncMode::ultra);
}

bool DesktopModelAdapter::isRunning() const {
    return model_->isRunning();
}

StatusPill DesktopModelAdapter::runPresentation() const {
    return StatusPill(model_->runPresentation());
}

QString DesktopModelAdapter::syncStatusLine() const {
    return shown(model_->syncStatusLine());
}

StatusPill DesktopModelAdapter::ingestPresentation() const {
    return StatusPill(model_->ingestPresentation());
}

QString DesktopModelAdapter::ingestQueuedText() const {
    return shown(model_->ingestQueuedText());
}

QString DesktopModelAdapter::ingestRunningText() const {
    return shown(model_->ingestRunningText());
}

QString DesktopModelAdapter::ingestErrorsText() const {
    return shown(model_->ingestErrorsText());
}

QString DesktopModelAdapter::ingestLastText() const {
    return shown(model_->ingestLastText());
}

QList<FailedUploadText> DesktopModelAdapter::failedUploads() const {
    QList<FailedUploadText> texts;
    for (const FailedUploadItem& item : model_->failedUploads()) {
        texts.append(FailedUploadText(item));
    }
    return texts;
}

QString DesktopModelAdapter::retryStatus() const {
    return shown(model_->retryStatus());
}

bool DesktopModelAdapter::isIndexing() const {
    return model_->indexingProgress().isActive;
}

double DesktopModelAdapter::indexingFraction() const {
    return DesktopPresentationFormatter::indexingFraction(model_->indexingProgress()).value_or(-1);
}

QString DesktopModelAdapter::indexedFilesText() const {
    return shown(DesktopPresentationFormatter::indexedFilesText(model_->indexingProgress()));
}

QString DesktopModelAdapter::indexRemainingText() const {
    return shown(model_->indexRemainingText());
}

QString DesktopModelAdapter::indexEtaText() const {
    return shown(model_->indexEtaText());
}

qlonglong DesktopModelAdapter::unsupportedFilesCount() const {
    return model_->unsupportedFilesCount();
}

QString DesktopModelAdapter::unsupportedIndicatorText() const {
    return shown(model_->unsupportedIndicatorText().value_or(std::string()));
}

QString DesktopModelAdapter::supportedTypesText() const {
    return shown(DesktopAppModel::supportedTypesText());
}

bool DesktopModelAdapter::isConfirmationPending() const {
    return model_->pendingFolderSelectionConfirmation().has_value();
}

QString DesktopModelAdapter::confirmationTitle() const {
    return shown(veskline::confirmationTitle(model_->pendingFolderSelectionConfirmation()));
}

QString DesktopModelAdapter::confirmationMessage() const {
    return shown(veskline::confirmationMessage(model_->pendingFolderSelectionConfirmation()));
}

QString DesktopModelAdapter::confirmationButtonTitle() const {
    return shown(veskline::confirmationButtonTitle(model_->pendingFolderSelectionConfirmation()));
}

// The job holds the model until it has ended, so nobody need keep the handle.
async::TaskHandle DesktopModelAdapter::start(async::Task<> (DesktopAppModel::*operation)()) {
    return async::spawn(model_->executor(), [model = model_, operation] { return ((*model).*operation)(); });
}

void DesktopModelAdapter::bootstrap() {
    bootstrap_ = start(&DesktopAppModel::bootstrap);
}

void DesktopModelAdapter::login() {
    start(&DesktopAppModel::login);
}

void DesktopModelAdapter::signup() {
    start(&DesktopAppModel::signup);
}

void DesktopModelAdapter::signOut() {
    start(&DesktopAppModel::signOut);
}

void DesktopModelAdapter::startSync() {
    start(&DesktopAppModel::startSync);
}

void DesktopModelAdapter::stopSync() {
    start(&DesktopAppModel::stopSync);
}

void DesktopModelAdapter::retryFailedUploads() {
    start(&DesktopAppModel::retryFailedUploads);
}

void DesktopModelAdapter::refreshStatus() {
    start(&DesktopAppModel::refreshStatus);
}

void DesktopModelAdapter::addFolder() {
    model_->addFolder();
}

void DesktopModelAdapter::chooseHomeFolder() {
    model_->chooseHomeFolder();
}

void DesktopModelAdapter::chooseRootFolder() {
    model_->chooseRootFolder();
}

void DesktopModelAdapter::clearFolders() {
    model_->clearFolders();
}

void DesktopModelAdapter::confirmPendingFolderSelection() {
    model_->confirmPendingFolderSelection();
}

void DesktopModelAdapter::cancelPendingFolderSelection() {
    model_->cancelPendingFolderSelection();
}

void DesktopModelAdapter::openDashboard() {
    model_->openDashboard();
}

} // namespace veskline
