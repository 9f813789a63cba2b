#pragma once

#include "local_project/Exchange.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace local_project {

// The HTTP server: listens on 127.0.0.1 alone, keeps every connection for as long as the client wants, serves each on
// a thread of its own and hands every request to one handler. It knows nothing of what the requests mean.
class Server {
public:
    using Handler = std::function<Answer(Request&)>;

    // `handler` is called from many threads at once and must not throw.
    explicit Server(Handler handler);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Listens and serves; port 0 chooses a free one. Returns the port. Throws std::runtime_error where the port is
    // taken.
    std::uint16_t start(std::uint16_t port);

    // Takes no further connection, lets the answers under way out for a moment, then closes what is left. Returns
    // when no handler runs any more: whoever makes handlers wait releases them first.
    void stop();

private:
    class Listener;
    std::unique_ptr<Listener> listener_;
};

} // namespace local_project
