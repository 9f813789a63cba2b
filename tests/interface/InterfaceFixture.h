#pragma once

#include "interface/Screen.h"
#include "screenshots/Stage.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>

namespace veskline::testing {

// The real window over a real model and a local project. What runs at the end of a case is left to the end of the
// process.
class InterfaceFixture : public ::testing::Test {
protected:
    void launch() {
        stage.launch();
        stage.window().window()->requestActivate();
        screen = Screen(stage.window().window());
    }
    void launchSignedIn() {
        launch();
        stage.signIn();
        untilSays(QString::fromStdString(stage.email()));
    }
    void open(const QString& screenName) { screen.choose(screenName); }
    void untilSays(const QString& text) {
        try {
            stage.until(text.toStdString(), [&] { return screen.says(text); });
        } catch (const std::exception& error) {
            FAIL() << error.what() << " The window says:\n" << screen.texts();
        }
    }
    void untilGone(const QString& text) {
        stage.until("the end of " + text.toStdString(), [&] { return !screen.says(text); });
    }

    TemporaryFolder folder;
    Stage& stage = *new Stage(folder.string());
    Screen screen{nullptr};
};

} // namespace veskline::testing
