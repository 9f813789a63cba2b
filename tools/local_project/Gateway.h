#pragma once

#include "local_project/Accounts.h"
#include "local_project/Faults.h"
#include "local_project/Journal.h"
#include "local_project/ObjectStore.h"
#include "local_project/Options.h"
#include "local_project/Tables.h"

#include <optional>

namespace local_project {

// What stands before the three services: writes every request into the journal, lets faults happen, refuses a missing
// API key or a bad access token, and hands the rest to the service that its path names. Called from the threads of
// the connections.
class Gateway {
public:
    Gateway(const Options& options, Accounts& accounts, Tables& tables, ObjectStore& objects, Journal& journal,
            Faults& faults);

    // Never throws: what a service could not do is answered by 500 and told on standard error.
    [[nodiscard]] Answer answer(Request& request);

private:
    [[nodiscard]] Answer attempt(const std::optional<Fault>& fault, Request& request);
    [[nodiscard]] Answer answerUnder(const Fault& fault, Request& request);
    [[nodiscard]] Answer answerBroken(const Fault& fault, Request& request);
    [[nodiscard]] Answer answerStalled(const Fault& fault, Request& request);
    [[nodiscard]] Response route(Request& request);
    [[nodiscard]] Response store(const Request& request, const User& user);
    [[nodiscard]] Response refusedToken(const Request& request) const;

    const Options& options_;
    Accounts& accounts_;
    Tables& tables_;
    ObjectStore& objects_;
    Journal& journal_;
    Faults& faults_;
};

} // namespace local_project
