#pragma once

#include "local_project/Accounts.h"
#include "local_project/DataFolder.h"
#include "local_project/Database.h"
#include "local_project/Faults.h"
#include "local_project/Gateway.h"
#include "local_project/IngestWorker.h"
#include "local_project/Journal.h"
#include "local_project/ObjectStore.h"
#include "local_project/Options.h"
#include "local_project/Server.h"
#include "local_project/Tables.h"

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace local_project {

// A hosted project on one's own machine: what the executable runs, and what tests run in their own process. All of
// its state lies under `data`, so that a project made anew on the same folder goes on where the last one ended,
// however that ended.
class LocalProject {
public:
    // Opens or makes the data folder. Throws std::runtime_error in words for the user: another project uses the
    // folder, a file cannot be read or written.
    explicit LocalProject(Options options);
    ~LocalProject();
    LocalProject(const LocalProject&) = delete;
    LocalProject& operator=(const LocalProject&) = delete;

    // Serves on 127.0.0.1; port 0 chooses a free one. Throws std::runtime_error where the port is taken.
    void start(std::uint16_t port = 0);

    // Ends promptly, whatever is stalled or kept. Once; a further start needs a new object.
    void stop();

    // "http://127.0.0.1:PORT", once started.
    [[nodiscard]] std::string baseUrl() const;
    [[nodiscard]] std::uint16_t port() const { return port_; }
    [[nodiscard]] const Options& options() const { return options_; }

    // Safe from any thread while the project runs.
    [[nodiscard]] Accounts& accounts() { return accounts_; }
    [[nodiscard]] Journal& journal() { return journal_; }
    [[nodiscard]] Faults& faults() { return faults_; }
    [[nodiscard]] IngestWorker& worker() { return worker_; }

    // What /_local/state answers: `users`, `files`, `jobs`, `objects`.
    [[nodiscard]] nlohmann::json state();

private:
    [[nodiscard]] Answer answer(Request& request);
    [[nodiscard]] Response dashboard();
    [[nodiscard]] Response control(Request& request);
    [[nodiscard]] Response controlFaults(Request& request);
    [[nodiscard]] Response controlJournal(const Request& request);

    Options options_;
    DataFolder folder_;
    Database database_;
    Accounts accounts_;
    ObjectStore objects_;
    IngestWorker worker_;
    Tables tables_;
    Journal journal_;
    Faults faults_;
    Gateway gateway_;
    Server server_;
    std::uint16_t port_ = 0;
};

} // namespace local_project
