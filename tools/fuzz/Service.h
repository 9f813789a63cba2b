#pragma once

#include "hosted/SupabaseHTTPClient.h"
#include "simulation/OneThread.h"
#include "support/TemporaryFolder.h"

#include <functional>
#include <string>
#include <vector>

namespace veskline::fuzz {

// The hosted client, signed in and on the caller's thread, with a service in place of the network.
class Service {
public:
    static inline const std::string url = "https://project.example:8443";

    Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    template <class Body>
    auto run(Body body) {
        return thread_.run(std::move(body));
    }
    [[nodiscard]] std::optional<StoredSession> stored() {
        return run([this] { return sessions_.load(); });
    }
    // What the service answers from here on. Ann signs in anew, whoever was signed in.
    void begin(std::function<platform::HttpResponse()> answer) {
        answer_ = std::move(answer);
        requests_.clear();
        if (stored() != ann) {
            run([this] { return sessions_.save(ann); });
        }
    }
    [[nodiscard]] const SupabaseHTTPClient& client() const noexcept { return client_; }
    [[nodiscard]] const std::vector<platform::HttpRequest>& requests() const noexcept { return requests_; }

    static inline const StoredSession ann{
        .accessToken = "token", .refreshToken = "refresh", .user = StoredUser{.id = "ann", .email = std::nullopt}};

private:
    static void start(void* self, platform::PendingExchange& exchange) noexcept {
        auto* const service = static_cast<Service*>(self);
        service->requests_.push_back(exchange.request);
        exchange.succeed(service->answer_());
    }
    static constexpr platform::HttpTransport::Operations operations{
        .start = &Service::start, .abort = [](void*, platform::PendingExchange&) noexcept {}};

    TemporaryFolder folder_;
    testing::OneThread thread_;
    SessionStore sessions_{thread_.executor(), StorePlace{.path = folder_.at("session.json")}, std::nullopt};
    std::function<platform::HttpResponse()> answer_;
    std::vector<platform::HttpRequest> requests_;
    SupabaseHTTPClient client_{PublicConfig{.supabaseURL = url, .supabaseAnonKey = "anon", .dashboardURL = url},
                               sessions_, platform::HttpTransport(operations, this), thread_.executor()};
};

} // namespace veskline::fuzz
