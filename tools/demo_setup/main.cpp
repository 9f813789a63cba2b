// veskline-demo-setup MODE FOLDER...
//
// Prepares a state folder as a user would in the window: signs in at the hosted project and stores the folders and the
// speed, so that an agent started on it begins to sync by itself. Project and state folder come from the environment,
// as the agent's do; the account from VESKLINE_DEMO_EMAIL and VESKLINE_DEMO_PASSWORD, which keeps it off the command
// line.

#include "hosted/SupabaseHTTPClient.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "platform/http/CurlTransport.h"
#include "platform/text/ErrorDescription.h"
#include "state/LocalDatabase.h"
#include "state/PublicConfigLoader.h"
#include "state/SessionStore.h"
#include "sync/StoredSelection.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Request {
    veskline::SyncMode mode = veskline::SyncMode::regular;
    std::vector<std::string> folders;
    std::string email;
    std::string password;
};

// Throws std::invalid_argument in words for whoever wrote the command line.
Request readRequest(int count, char** arguments) {
    const char* const email = std::getenv("VESKLINE_DEMO_EMAIL");
    const char* const password = std::getenv("VESKLINE_DEMO_PASSWORD");
    const std::string word = count > 1 ? arguments[1] : "";
    const std::optional<veskline::SyncMode> mode = veskline::fromRawValue(word);
    if (!mode) {
        throw std::invalid_argument("\"" + word + "\" is no speed: regular or ultra, then the folders.");
    }
    if (count < 3) {
        throw std::invalid_argument("no folder is named: regular or ultra, then the folders.");
    }
    if (email == nullptr || password == nullptr) {
        throw std::invalid_argument("VESKLINE_DEMO_EMAIL or VESKLINE_DEMO_PASSWORD is not set.");
    }
    Request request{.mode = *mode, .email = email, .password = password};
    for (int i = 2; i < count; ++i) {
        request.folders.push_back(std::filesystem::absolute(arguments[i]).string());
    }
    return request;
}

void prepare(const Request& request) {
    async::ThreadPool pool;
    platform::CurlTransport http;
    veskline::SessionStore sessionStore(pool.executor());
    veskline::LocalDatabase database(pool.executor());
    veskline::SupabaseHTTPClient client(veskline::PublicConfigLoader::load(), sessionStore, http.transport(),
                                        pool.executor());
    veskline::StoredSelection selection(database);
    async::runBlocking(pool.executor(), [&] { return client.signIn(request.email, request.password); });
    async::runBlocking(pool.executor(), [&] { return selection.write(request.folders, request.mode); });
}

} // namespace

int main(int argc, char** argv) {
    try {
        prepare(readRequest(argc, argv));
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "veskline-demo-setup: %s\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "veskline-demo-setup: %s\n", platform::describe(error).c_str());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
