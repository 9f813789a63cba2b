#pragma once

#include "local_project/Database.h"
#include "local_project/ObjectStore.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace local_project {

// Works the jobs off on a thread of its own, oldest first: queued, running, then done or error. An "ingest" job reads
// the file's object and records what it ingested; a "delete" job forgets it. A job that a kill left running is queued
// again at the next start.
class IngestWorker {
public:
    IngestWorker(Database& database, ObjectStore& objects, Clock clock, std::chrono::milliseconds delay);
    ~IngestWorker();
    IngestWorker(const IngestWorker&) = delete;
    IngestWorker& operator=(const IngestWorker&) = delete;

    void start();

    // Returns once the thread has ended; a job in its delay is left running and queued again at the next start.
    void stop();

    // There may be a job to do.
    void wake();

    // Waits until no job is queued or running. False where `patience` ended before that.
    [[nodiscard]] bool settle(std::chrono::milliseconds patience);

private:
    struct Job {
        std::string id;
        std::string fileId;
        std::string kind;
    };

    void work();
    void workOff();
    [[nodiscard]] std::optional<Job> take();
    void perform(const Job& job);
    void ingest(const Job& job);
    void forget(const Job& job);
    void end(const Job& job, const std::string& error);
    [[nodiscard]] bool pause();
    [[nodiscard]] bool isIdle();

    Database& database_;
    ObjectStore& objects_;
    Clock clock_;
    std::chrono::milliseconds delay_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool hasWork_ = true;
    bool isStopping_ = false;
    std::thread thread_;
};

} // namespace local_project
