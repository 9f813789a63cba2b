#include "interface/InterfaceFixture.h"

namespace veskline::testing {

namespace {

class Console : public InterfaceFixture {
protected:
    void SetUp() override {
        launchSignedIn();
        launch(); // with the session of before, and nothing to tell yet
        open("Activity");
    }
    QQuickItem& console() { return *screen.find(QAccessible::List, "Activity stream"); }
    double position() { return console().property("contentY").toDouble() - console().property("originY").toDouble(); }
};

} // namespace

TEST_F(Console, ShowsNewLinesWithoutScrollingByItself) {
    untilSays("No activity yet.");
    for (int i = 0; i < 100; ++i) {
        stage.model()->appendLog("line " + std::to_string(i));
    }
    untilSays("line 0");
    EXPECT_FALSE(screen.says("No activity yet."));
    EXPECT_FALSE(screen.says("line 99")); // built only where it is seen
    const double before = position();
    stage.model()->appendLog("the last");
    stage.until("the row", [&] { return console().property("count").toInt() == 101; });
    EXPECT_EQ(position(), before);
    console().forceActiveFocus();
    screen.key(Qt::Key_End);
    untilSays("the last");
    screen.key(Qt::Key_Home);
    untilSays("line 0");
}

} // namespace veskline::testing
