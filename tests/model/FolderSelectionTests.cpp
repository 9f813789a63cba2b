#include "model/ModelFixture.h"

#include <functional>

using namespace veskline;
using Folders = std::vector<std::string>;

namespace {

class FolderSelection : public veskline::testing::ModelFixture {
protected:
    using Answer = std::function<void(std::optional<std::string>)>;

    void launchWithPicker() {
        const UserSurroundings user{.folderPicker = [this](Answer answer) { dialogs.push_back(std::move(answer)); },
                                    .openURL = {}};
        model = DesktopAppModel::create(surroundings(), user);
        thread.settle();
    }
    void pick(std::optional<std::string> path) {
        model->addFolder();
        const Answer answer = dialogs.at(0);
        dialogs.clear();
        answer(std::move(path));
    }
    void select(const Folders& folders) {
        model->cancelPendingFolderSelection();
        model->clearFolders();
        for (const std::string& path : folders) {
            pick(path);
        }
        ASSERT_EQ(model->folders(), folders);
    }
    // The selection, the status and what is pending.
    [[nodiscard]] std::string shown() const {
        std::string text;
        for (const std::string& path : model->folders()) {
            text += (path == folder.string() ? "HOME" : path) + " ";
        }
        const auto& pending = model->pendingFolderSelectionConfirmation();
        return text + "[" + model->syncStatus() + "]" + (pending ? " " + pending->id() : "");
    }

    const std::string all = "[All folders selected (home directory).]";
    const std::string disk = "[All files selected (full disk).]";
    std::vector<Answer> dialogs;
};

} // namespace

TEST_F(FolderSelection, AsksOnlyWhereASelectionWouldBeLost) {
    launchWithPicker();
    const std::string home = model->homeFolder();
    struct Row {
        Folders before;
        std::string added, chosenHome, chosenRoot;
    };
    const Row rows[] = {
        {{}, "/p []", "HOME " + all, "/ " + disk},
        {{home}, "HOME [] folder:/p", "HOME " + all, "HOME [] root"},
        {{"/"}, "/ [] folder:/p", "/ [] home", "/ " + disk},
        {{"/a"}, "/a /p []", "/a [] home", "/a [] root"},
        {{"/p", "/a"}, "/p /a [Folder already selected.]", "/p /a [] home", "/p /a [] root"},
        {{"/a", home}, "/a HOME /p []", "/a HOME [] home", "/a HOME [] root"},
    };
    for (const Row& row : rows) {
        select(row.before);
        pick("/a/.././p/");
        EXPECT_EQ(shown(), row.added);
        select(row.before);
        model->chooseHomeFolder();
        EXPECT_EQ(shown(), row.chosenHome);
        select(row.before);
        model->chooseRootFolder();
        EXPECT_EQ(shown(), row.chosenRoot);
    }
    select({home});
    pick(home);
    EXPECT_EQ(shown(), "HOME [] folder:" + home) << "asks before it looks for duplicates";
}

TEST_F(FolderSelection, AppliesOrForgetsWhatIsPending) {
    launchWithPicker();
    model->confirmPendingFolderSelection();
    EXPECT_EQ(shown(), "[]") << "with nothing pending";
    select({"/a"});
    model->chooseHomeFolder();
    model->cancelPendingFolderSelection();
    EXPECT_EQ(shown(), "/a []");
    model->chooseRootFolder();
    model->chooseHomeFolder();
    model->confirmPendingFolderSelection();
    EXPECT_EQ(shown(), "HOME " + all) << "the later request counts";
    model->chooseRootFolder();
    model->confirmPendingFolderSelection();
    EXPECT_EQ(shown(), "/ " + disk);
    pick("/b");
    model->confirmPendingFolderSelection();
    EXPECT_EQ(shown(), "/b [Replaced the all-folders selection with a specific folder.]");
    model->chooseHomeFolder();
    run(&DesktopAppModel::signOut);
    EXPECT_EQ(shown(), "/b []");
}

TEST_F(FolderSelection, OpensOneDialogAtATimeAndSurvivesEveryEndOfIt) {
    launchWithPicker();
    model->addFolder();
    model->addFolder();
    EXPECT_EQ(dialogs.size(), 1U);
    dialogs.clear(); // without an answer
    pick(std::nullopt);
    pick("");
    EXPECT_EQ(shown(), "[]");
    model->addFolder();
    model.reset();
    dialogs.at(0)("/late");
    launch();
    model->addFolder();
    EXPECT_EQ(shown(), "[]") << "there is no picker";
}

TEST(FolderSelectionConfirmation, WordsItsAlerts) {
    const auto words = [](const std::optional<FolderSelectionConfirmation>& pending) {
        return confirmationTitle(pending) + " " + confirmationMessage(pending) + " " + confirmationButtonTitle(pending);
    };
    EXPECT_EQ(words(FolderSelectionConfirmation::replaceWithHome()),
              "Replace folder selection with Home? Syncing your entire home folder can take a while. "
              "Replace your current selection with your home directory? Use Home");
    EXPECT_EQ(words(FolderSelectionConfirmation::replaceWithRoot()),
              "Replace folder selection with full disk? Syncing your entire computer can take a long time and use "
              "more bandwidth. Replace your current selection with your full disk? Use full disk");
    EXPECT_EQ(words(FolderSelectionConfirmation::replaceWithSpecificFolder("/a")),
              "Replace all-folders selection? You currently have an all-folders selection active. "
              "Replace it with this specific folder? Replace with folder");
}
