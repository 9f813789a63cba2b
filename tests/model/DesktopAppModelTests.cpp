#include "model/ModelFixture.h"

using namespace veskline;
using veskline::testing::EnvironmentVariable;

namespace {

class DesktopAppModelTest : public veskline::testing::ModelFixture {};

} // namespace

TEST_F(DesktopAppModelTest, KeepsTheLast300LinesAndTellsOfEachWriteOnce) {
    launch();
    EXPECT_TRUE(project.journal().empty());
    writes.clear();
    for (int i = 1; i <= 300; ++i) {
        model->appendLog(std::to_string(i));
    }
    EXPECT_EQ(model->logLines().front(), "1");
    model->appendLog("301");
    EXPECT_EQ(model->logLines().size(), 300U);
    EXPECT_EQ(model->logLines().front(), "2");
    EXPECT_EQ(model->logLines().back(), "301");
    EXPECT_EQ(writes.size(), 301U);
    model->setEmail("");
    EXPECT_EQ(writes.back(), ModelField::email) << "told also of a value that was there already";
}

TEST_F(DesktopAppModelTest, IsNotBuiltWithoutAConfigurationOrADatabase) {
    const EnvironmentVariable wrong("SUPABASE_URL", "not a URL");
    EXPECT_THROW(launch(), std::exception);
    EXPECT_FALSE(folder.has("state")) << "no store was opened";
    const EnvironmentVariable right("SUPABASE_URL", "https://project.example");
    folder.makeFolder("state/state.sqlite3");
    EXPECT_THROW(launch(), DatabaseError);
}

TEST_F(DesktopAppModelTest, ReceivesWhatTheEngineReportsAndLetsItGoWhenItIsGone) {
    folder.write("documents/b.png", "b");
    launchRunning();
    EXPECT_EQ(model->unsupportedFilesCount(), 1);
    EXPECT_EQ(model->indexingProgress().scannedFiles, 1);
    EXPECT_EQ(timesLogged("Summary: uploaded 1, skipped 0, deleted 0, failed 0."), 1);
    run(&DesktopAppModel::signOut);
    EXPECT_EQ(model.use_count(), 1) << "nothing that has ended holds it";
}
