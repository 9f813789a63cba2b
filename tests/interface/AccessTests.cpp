#include "interface/InterfaceFixture.h"

#include <QAccessibleTextInterface>
#include <QSignalSpy>

#include <algorithm>

namespace veskline::testing {

namespace {

class Access : public InterfaceFixture {
protected:
    // From the first control of the window on, wherever the focus stands.
    std::vector<std::string> allStops() {
        std::vector<std::string> all = screen.tabStops();
        std::ranges::rotate(all, std::ranges::find(all, "choice Control center"));
        return all;
    }
    static QAccessibleInterface& reader(QQuickItem* item) { return *QAccessible::queryAccessibleInterface(item); }
    static void pressAsReader(QQuickItem* item) {
        reader(item).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }
};

// Those of the sidebar, of the header, and of the screen.
std::vector<std::string> stops(std::vector<std::string> header, const std::vector<std::string>& content) {
    header.insert(header.begin(), {"choice Control center", "choice Sync setup", "choice Activity"});
    header.insert(header.end(), content.begin(), content.end());
    return header;
}

const std::vector<std::string> header{"button Refresh", "button Open dashboard", "button Sign out"};

} // namespace

TEST_F(Access, ReachesEveryControlByKeyboardInReadingOrder) {
    launch();
    EXPECT_EQ(allStops(), stops({"button Open dashboard", "button Open dashboard"},
                                {"field Email", "field Password", "button Log in", "button Create account"}));
    stage.signIn();
    untilSays(QString::fromStdString(stage.email()));
    EXPECT_EQ(allStops(), stops(header, {"list Recent activity"}));
    open("Sync setup");
    EXPECT_EQ(allStops(), stops(header, {"button Add folder...", "button Use Home", "button Use full disk",
                                         "button Clear selection", "button Stop", "choice Regular", "choice Ultra",
                                         "button Retry failed uploads"}));
    open("Activity");
    EXPECT_EQ(allStops(), stops(header, {"list Activity stream", "button Retry failed uploads"}));
}

TEST_F(Access, DrawsARingAroundWhatTheKeyboardReachedAndUsesIt) {
    launchSignedIn();
    screen.key(Qt::Key_Tab);
    screen.key(Qt::Key_Tab);
    QQuickItem* const reached = screen.window().activeFocusItem();
    const auto hasRing = [reached] {
        return std::ranges::any_of(reached->childItems(), [](const QQuickItem* child) {
            return child->inherits("QQuickRectangle") && child->isVisible() && child->x() < 0;
        });
    };
    EXPECT_TRUE(hasRing());
    screen.key(Qt::Key_Space);
    untilSays("No folders selected yet.");
    screen.choose("Ultra"); // by mouse
    EXPECT_FALSE(hasRing());
    screen.key(Qt::Key_Backtab);
    screen.key(Qt::Key_Return);
    EXPECT_EQ(stage.model()->mode(), SyncMode::regular);
}

TEST_F(Access, TellsAReaderWhatEachControlIsAndLetsItPressAllThatIsEnabled) {
    launchSignedIn();
    for (const QString destination : {"Control center", "Activity", "Sync setup"}) {
        pressAsReader(screen.find(QAccessible::RadioButton, destination));
        EXPECT_TRUE(reader(screen.find(QAccessible::RadioButton, destination)).state().checked);
        EXPECT_EQ(screen.unnamed(), std::vector<std::string>());
    }
    EXPECT_TRUE(reader(screen.find(QAccessible::RadioButton, "Regular")).state().checked);
    pressAsReader(screen.find(QAccessible::RadioButton, "Ultra"));
    EXPECT_EQ(stage.model()->mode(), SyncMode::ultra);

    QQuickItem* const start = screen.find(QAccessible::Button, "Start sync");
    QSignalSpy presses(start, SIGNAL(clicked()));
    pressAsReader(start);
    EXPECT_EQ(presses.count(), 0);
    pressAsReader(screen.find(QAccessible::Button, "Use Home"));
    untilSays("All folders selected (home directory).");
    pressAsReader(start);
    EXPECT_EQ(presses.count(), 1);
}

TEST_F(Access, KeepsThePasswordFromReaders) {
    launch();
    screen.type("Password", "secret");
    const QAccessibleTextInterface* const text =
        reader(screen.find(QAccessible::EditableText, "Password")).textInterface();
    EXPECT_EQ(text->text(0, text->characterCount()), QString(6, QChar(0x2022)));
    EXPECT_EQ(stage.model()->password(), "secret");
}

} // namespace veskline::testing
