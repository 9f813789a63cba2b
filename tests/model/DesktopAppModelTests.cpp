#include "model/ModelFixture.h"

#include <algorithm>

using namespace veskline;

namespace {

class DesktopAppModelTest : public veskline::testing::ModelFixture {};

} // namespace

TEST_F(DesktopAppModelTest, StandsInItsFirstState) {
    launch();
    for (const std::string* const text :
         {&model->email(), &model->password(), &model->authStatus(), &model->syncStatus(), &model->retryStatus()}) {
        EXPECT_TRUE(text->empty());
    }
    EXPECT_TRUE(model->logLines().empty() && model->folders().empty() && model->failedUploads().empty());
    EXPECT_EQ(model->mode(), SyncMode::regular);
    EXPECT_EQ(model->indexingProgress(), IndexingProgressSnapshot::idle);
    EXPECT_EQ(model->homeFolder(), folder.string());
    EXPECT_EQ(model->rootFolder(), "/");
    EXPECT_TRUE(project.journal().empty());
}

TEST_F(DesktopAppModelTest, KeepsTheLast300LinesAndTellsOfEachWriteOnce) {
    launch();
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
    const veskline::testing::EnvironmentVariable wrong("SUPABASE_URL", "not a URL");
    EXPECT_THROW(launch(), std::exception);
    EXPECT_FALSE(folder.has("state")) << "no store was opened";
    const veskline::testing::EnvironmentVariable right("SUPABASE_URL", "https://project.example");
    folder.makeFolder("state/state.sqlite3");
    EXPECT_THROW(launch(), DatabaseError);
}

TEST_F(DesktopAppModelTest, ReceivesWhatTheEngineReportsAndLetsItGoWhenItIsGone) {
    folder.write("documents/a.txt", "a");
    folder.write("documents/b.png", "b");
    project.signIn("ann");
    storeSession();
    storeSelection({folder.at("documents")}, SyncMode::ultra);
    launch();
    run(&DesktopAppModel::bootstrap);
    EXPECT_EQ(model->unsupportedFilesCount(), 1);
    EXPECT_EQ(model->indexingProgress().scannedFiles, 1);
    EXPECT_EQ(std::ranges::count(model->logLines(), "Summary: uploaded 1, skipped 0, deleted 0, failed 0."), 1);
    run(&DesktopAppModel::signOut);
    EXPECT_EQ(model.use_count(), 1) << "nothing that has ended holds it";
}
