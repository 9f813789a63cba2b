#include "interface/InterfaceFixture.h"
#include "interface/drawing/DesktopFonts.h"

#include <QLoggingCategory>
#include <QQmlComponent>
#include <QQmlEngine>

namespace veskline::testing {

namespace {

class Look : public InterfaceFixture {
protected:
    // An item of QML text in the window of the program.
    std::unique_ptr<QQuickItem> make(const QByteArray& text) {
        QQmlComponent component(qmlEngine(screen.window().contentItem()->childItems().front()));
        component.setData("import QtQuick\nimport Veskline.SharedViews\n" + text, {});
        std::unique_ptr<QQuickItem> item(qobject_cast<QQuickItem*>(component.create()));
        EXPECT_NE(item, nullptr) << component.errorString().toStdString();
        item->setParentItem(screen.window().contentItem());
        return item;
    }
};

std::vector<std::string> warnings;

void keepWarning(QtMsgType, const QMessageLogContext&, const QString& text) {
    if (!text.contains("raise()")) { // which the offscreen platform has not
        warnings.push_back(text.toStdString());
    }
}

} // namespace

TEST_F(Look, LoadsEveryScreenWithoutAWarning) {
    qInstallMessageHandler(keepWarning);
    launch();
    for (int i = 0; i < 2; ++i) {
        for (const QString destination : {"Sync setup", "Activity", "Control center"}) {
            open(destination);
            screen.window().grabWindow();
        }
        stage.signIn();
        untilSays(QString::fromStdString(stage.email()));
    }
    stage.window().showFailure({"Veskline", "Native app initialization failed.", "why"});
    qInstallMessageHandler(nullptr);
    EXPECT_EQ(warnings, std::vector<std::string>());
}

TEST_F(Look, FlowsIntoOneColumnWhoseRightEdgesMeetWhereARowDoesNotFit) {
    launch();
    const auto flow = make("FlowLayout { width: 400; spacing: 10; DesktopStatusChip { text: 'Running' }"
                           " DesktopStatusChip { text: 'Ingestion: Active' } }");
    const QList<QQuickItem*> chips = flow->childItems().front()->childItems();
    EXPECT_EQ(chips[0]->y(), chips[1]->y());
    EXPECT_EQ(flow->implicitHeight(), 34);
    flow->setWidth(flow->property("rowWidth").toDouble() - 1);
    stage.until("a column", [&] { return chips[1]->y() == 34 + 10; });
    EXPECT_EQ(chips[0]->x() + chips[0]->width(), chips[1]->x() + chips[1]->width());
    flow->setWidth(60);
    EXPECT_EQ(chips[1]->width(), 60); // cut, on one line
    EXPECT_EQ(chips[1]->height(), 34);
}

TEST_F(Look, LeavesNoGapForADetailThatIsNotThere) {
    launch();
    const auto card = make("DesktopMetricCard { title: 'Folders'; value: '2' }");
    EXPECT_EQ(card->implicitHeight(), 132);
    const double content = card->childItems().back()->implicitHeight();
    card->setProperty("detail", "Two of them");
    stage.until("a third line", [&] { return card->childItems().back()->implicitHeight() > content + 10; });
}

TEST_F(Look, ShrinksAValueToFitButNoFurtherThanTold) {
    QFont font(QStringLiteral("Inter"));
    font.setPixelSize(28);
    const auto sizeOf = [&font](const QString& text) {
        return DesktopFonts::fittingPixelSize(text, font, 174, 3, 0.84);
    };
    EXPECT_EQ(sizeOf("Running"), 28);
    const int shrunk = sizeOf("Waiting for the hosted worker to pick up files");
    EXPECT_LT(shrunk, 28);
    EXPECT_GT(shrunk, 24);
    EXPECT_EQ(sizeOf(QString(500, 'w')), 24);
}

} // namespace veskline::testing
