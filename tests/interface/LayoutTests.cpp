#include "interface/InterfaceFixture.h"

#include <array>

namespace veskline::testing {

namespace {

constexpr std::array sizes{QSize(1120, 760), QSize(1280, 860), QSize(1680, 1050)};

class Layout : public InterfaceFixture {
protected:
    // Every screen, reached from another one, at each size.
    void expectSoundScreens(const std::string& state) {
        for (const QSize size : sizes) {
            screen.window().resize(size);
            for (const QString destination : {"Sync setup", "Activity", "Control center"}) {
                open(destination);
                expectSound(state + ", " + destination.toStdString());
            }
        }
    }
    void expectSound(const std::string& what) {
        screen.window().grabWindow();
        EXPECT_EQ(screen.overlaps(), std::vector<std::string>())
            << what << " at " << screen.window().width() << " x " << screen.window().height();
    }
    void sync(const std::vector<std::filesystem::path>& folders) {
        stage.choose(folders);
        stage.model()->setMode(SyncMode::ultra);
        stage.run(&DesktopAppModel::startSync);
        stage.untilIngested();
    }
};

} // namespace

TEST_F(Layout, KeepsTextsApartInEveryState) {
    launch();
    expectSoundScreens("signed out");
    stage.model()->setPassword("a wrong guess");
    stage.run(&DesktopAppModel::login);
    untilSays("Supabase request failed with status 400");
    expectSoundScreens("sign-in failed");
    stage.signIn();
    untilSays(QString::fromStdString(stage.email()));
    expectSoundScreens("signed in");
    stage.writeDocument("Documents/A rather long name that has to be wrapped or cut somewhere on a narrow card.pdf",
                        "-");
    sync({"Documents", "Research", "Work/clients/northwind"});
    expectSoundScreens("running, with a failed upload");
    stage.run(&DesktopAppModel::stopSync);
    expectSoundScreens("stopped");
    stage.run(&DesktopAppModel::signOut);
    expectSoundScreens("signed out again");
}

TEST_F(Layout, KeepsTextsApartWhenSignInHappensOnAnotherScreen) {
    for (const QString destination : {"Sync setup", "Activity"}) {
        launch();
        open(destination);
        stage.signIn();
        untilSays(QString::fromStdString(stage.email()));
        expectSound("signed in on " + destination.toStdString());
        open("Control center");
        expectSound("control center after " + destination.toStdString());
        stage.run(&DesktopAppModel::signOut);
    }
}

TEST_F(Layout, KeepsTextsApartWhenTheControlCenterIsNotTheFirstScreen) {
    launchSignedIn();
    open("Sync setup");
    launch();
    untilSays(QString::fromStdString(stage.email()));
    for (const QSize size : sizes) {
        screen.window().resize(size);
        open("Control center");
        expectSound("second screen");
        open("Sync setup");
    }
}

} // namespace veskline::testing
