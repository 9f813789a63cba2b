#include "interface/InterfaceFixture.h"
#include "interface/adapter/LogLines.h"

#include <QSignalSpy>

namespace veskline::testing {

namespace {

class Adapter : public InterfaceFixture {
protected:
    void SetUp() override { launch(); }
    static QStringList linesOf(const LogLines& rows) {
        QStringList lines;
        for (int i = 0; i < rows.rowCount(); ++i) {
            lines += rows.data(rows.index(i), LogLines::LineRole).toString();
        }
        return lines;
    }
    void log(int first, int last) {
        for (int i = first; i <= last; ++i) {
            stage.model()->appendLog(std::to_string(i));
        }
    }
};

} // namespace

TEST_F(Adapter, TellsManyWritesOnceAndAnEqualOneToo) {
    DesktopModelAdapter adapter(stage.model());
    QSignalSpy folders(&adapter, &DesktopModelAdapter::foldersChanged);
    QSignalSpy runs(&adapter, &DesktopModelAdapter::runChanged);
    for (int i = 0; i < 1000; ++i) {
        stage.model()->clearFolders();
    }
    EXPECT_EQ(folders.count(), 0);
    stage.until("a flush", [&] { return folders.count() > 0; });
    EXPECT_EQ(folders.count(), 1);
    stage.model()->clearFolders();
    stage.until("a flush", [&] { return folders.count() == 2; });
}

TEST_F(Adapter, GivesTheLastLinesAsRowsWithOneRemovalAndOneInsertionAFlush) {
    DesktopModelAdapter adapter(stage.model());
    LogLines all;
    LogLines recent;
    recent.setLineLimit(8);
    all.setSource(&adapter);
    recent.setSource(&adapter);
    QSignalSpy removals(&all, &QAbstractItemModel::rowsRemoved);
    QSignalSpy insertions(&all, &QAbstractItemModel::rowsInserted);
    log(1, 250);
    stage.until("a flush", [&] { return insertions.count() == 1; });
    log(251, 310);
    stage.until("a flush", [&] { return insertions.count() == 2; });
    EXPECT_EQ(removals.count(), 1);
    EXPECT_EQ(all.rowCount(), 300);
    EXPECT_EQ(linesOf(all).front(), "11");
    EXPECT_EQ(linesOf(recent), QStringList({"303", "304", "305", "306", "307", "308", "309", "310"}));
    log(311, 2000); // more than it holds
    stage.until("a flush", [&] { return insertions.count() == 3; });
    EXPECT_EQ(linesOf(all).front(), "1701");
    EXPECT_EQ(linesOf(all).back(), "2000");
    recent.setProperty("pause", 3'600'000);
    all.setProperty("pause", 1);
    log(2001, 2010);
    stage.until("a flush", [&] { return linesOf(recent).back() == "2010"; });
    log(2011, 2012);
    stage.until("the end of a pause", [&] { return linesOf(all).back() == "2012"; });
    EXPECT_EQ(linesOf(recent).back(), "2010");
    LogLines late;
    late.setSource(&adapter);
    EXPECT_EQ(linesOf(late), linesOf(all));
}

} // namespace veskline::testing
