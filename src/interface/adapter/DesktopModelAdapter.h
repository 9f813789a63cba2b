#pragma once

#include "interface/adapter/FailedUploadText.h"
#include "interface/adapter/StatusPill.h"
#include "model/DesktopAppModel.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QtQmlIntegration>

#include <bitset>
#include <chrono>
#include <cstddef>
#include <memory>

namespace veskline {

// The application model as the screens see it: its fields and words as properties, its operations as calls.
//
// The model tells of every write, tens of thousands a second at times. A write only marks its field; what was marked is
// told to the screens together, once every `flushInterval`, and each text is derived anew then, also where an equal
// value was written: some depend on the clock. A hidden window is told like any other, since a timer does it.
//
// Lives on the main thread with the window, and holds the model.
class DesktopModelAdapter : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the window")

    Q_PROPERTY(QString email READ email WRITE setEmail NOTIFY emailChanged)
    Q_PROPERTY(QString password READ password WRITE setPassword NOTIFY passwordChanged)
    Q_PROPERTY(veskline::StatusPill authPresentation READ authPresentation NOTIFY authStatusChanged)
    Q_PROPERTY(bool isSignedIn READ isSignedIn NOTIFY userChanged)
    Q_PROPERTY(QString userLabel READ userLabel NOTIFY userChanged)

    Q_PROPERTY(QStringList folderLabels READ folderLabels NOTIFY foldersChanged)
    Q_PROPERTY(QString folderCountText READ folderCountText NOTIFY foldersChanged)
    Q_PROPERTY(QString folderSelectionSummary READ folderSelectionSummary NOTIFY foldersChanged)
    Q_PROPERTY(Mode mode READ mode WRITE setMode NOTIFY modeChanged)

    Q_PROPERTY(bool isRunning READ isRunning NOTIFY runChanged)
    Q_PROPERTY(veskline::StatusPill runPresentation READ runPresentation NOTIFY runChanged)
    Q_PROPERTY(QString syncStatusLine READ syncStatusLine NOTIFY runChanged)

    Q_PROPERTY(veskline::StatusPill ingestPresentation READ ingestPresentation NOTIFY ingestStatusChanged)
    Q_PROPERTY(QString ingestQueuedText READ ingestQueuedText NOTIFY ingestStatusChanged)
    Q_PROPERTY(QString ingestRunningText READ ingestRunningText NOTIFY ingestStatusChanged)
    Q_PROPERTY(QString ingestErrorsText READ ingestErrorsText NOTIFY ingestStatusChanged)
    Q_PROPERTY(QString ingestLastText READ ingestLastText NOTIFY ingestStatusChanged)

    Q_PROPERTY(QList<veskline::FailedUploadText> failedUploads READ failedUploads NOTIFY failedUploadsChanged)
    Q_PROPERTY(QString retryStatus READ retryStatus NOTIFY retryStatusChanged)

    Q_PROPERTY(bool isIndexing READ isIndexing NOTIFY indexingProgressChanged)
    // From 0 to 1; negative where it is not known.
    Q_PROPERTY(double indexingFraction READ indexingFraction NOTIFY indexingProgressChanged)
    Q_PROPERTY(QString indexedFilesText READ indexedFilesText NOTIFY indexingProgressChanged)
    Q_PROPERTY(QString indexRemainingText READ indexRemainingText NOTIFY indexingProgressChanged)
    Q_PROPERTY(QString indexEtaText READ indexEtaText NOTIFY indexingProgressChanged)
    Q_PROPERTY(qlonglong unsupportedFilesCount READ unsupportedFilesCount NOTIFY unsupportedFilesCountChanged)
    // Empty where nothing was skipped.
    Q_PROPERTY(QString unsupportedIndicatorText READ unsupportedIndicatorText NOTIFY unsupportedFilesCountChanged)
    Q_PROPERTY(QString supportedTypesText READ supportedTypesText CONSTANT)

    Q_PROPERTY(bool isConfirmationPending READ isConfirmationPending NOTIFY confirmationChanged)
    Q_PROPERTY(QString confirmationTitle READ confirmationTitle NOTIFY confirmationChanged)
    Q_PROPERTY(QString confirmationMessage READ confirmationMessage NOTIFY confirmationChanged)
    Q_PROPERTY(QString confirmationButtonTitle READ confirmationButtonTitle NOTIFY confirmationChanged)

public:
    static constexpr std::chrono::milliseconds flushInterval{16};

    enum Mode { Regular, Ultra };
    Q_ENUM(Mode)

    explicit DesktopModelAdapter(std::shared_ptr<DesktopAppModel> model, QObject* parent = nullptr);
    // Cancels the bootstrap, which belongs to the window.
    ~DesktopModelAdapter() override;

    [[nodiscard]] QString email() const;
    void setEmail(const QString& email);
    [[nodiscard]] QString password() const;
    void setPassword(const QString& password);
    [[nodiscard]] StatusPill authPresentation() const;
    [[nodiscard]] bool isSignedIn() const;
    [[nodiscard]] QString userLabel() const;
    [[nodiscard]] QStringList folderLabels() const;
    [[nodiscard]] QString folderCountText() const;
    [[nodiscard]] QString folderSelectionSummary() const;
    [[nodiscard]] Mode mode() const;
    void setMode(Mode mode);
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] StatusPill runPresentation() const;
    [[nodiscard]] QString syncStatusLine() const;
    [[nodiscard]] StatusPill ingestPresentation() const;
    [[nodiscard]] QString ingestQueuedText() const;
    [[nodiscard]] QString ingestRunningText() const;
    [[nodiscard]] QString ingestErrorsText() const;
    [[nodiscard]] QString ingestLastText() const;
    [[nodiscard]] QList<FailedUploadText> failedUploads() const;
    [[nodiscard]] QString retryStatus() const;
    [[nodiscard]] bool isIndexing() const;
    [[nodiscard]] double indexingFraction() const;
    [[nodiscard]] QString indexedFilesText() const;
    [[nodiscard]] QString indexRemainingText() const;
    [[nodiscard]] QString indexEtaText() const;
    [[nodiscard]] qlonglong unsupportedFilesCount() const;
    [[nodiscard]] QString unsupportedIndicatorText() const;
    [[nodiscard]] QString supportedTypesText() const;
    [[nodiscard]] bool isConfirmationPending() const;
    [[nodiscard]] QString confirmationTitle() const;
    [[nodiscard]] QString confirmationMessage() const;
    [[nodiscard]] QString confirmationButtonTitle() const;

    // The log as it was last told, oldest line first.
    [[nodiscard]] const QStringList& logLines() const { return logLines_; }

    // Asynchronous operations: each call starts a job of its own and returns at once.
    Q_INVOKABLE void bootstrap();
    Q_INVOKABLE void login();
    Q_INVOKABLE void signup();
    Q_INVOKABLE void signOut();
    Q_INVOKABLE void startSync();
    Q_INVOKABLE void stopSync();
    Q_INVOKABLE void retryFailedUploads();
    Q_INVOKABLE void refreshStatus();

    // Immediate ones.
    Q_INVOKABLE void addFolder();
    Q_INVOKABLE void chooseHomeFolder();
    Q_INVOKABLE void chooseRootFolder();
    Q_INVOKABLE void clearFolders();
    Q_INVOKABLE void confirmPendingFolderSelection();
    Q_INVOKABLE void cancelPendingFolderSelection();
    Q_INVOKABLE void openDashboard();

Q_SIGNALS:
    void emailChanged();
    void passwordChanged();
    void authStatusChanged();
    void userChanged();
    void foldersChanged();
    void modeChanged();
    void runChanged();
    void ingestStatusChanged();
    void failedUploadsChanged();
    void retryStatusChanged();
    void indexingProgressChanged();
    void unsupportedFilesCountChanged();
    void confirmationChanged();
    // `lines` came to the end of the log; of more than it holds at most, the last ones.
    void logAppended(const QStringList& lines);

private:
    void mark(ModelField field);
    void flush();
    void flushLog();
    void tell(ModelField field);
    async::TaskHandle start(async::Task<> (DesktopAppModel::*operation)());

    std::shared_ptr<DesktopAppModel> model_;
    std::bitset<32> marked_;
    std::size_t newLogLines_ = 0;
    QStringList logLines_;
    QTimer flushTimer_;
    async::TaskHandle bootstrap_;
};

} // namespace veskline
