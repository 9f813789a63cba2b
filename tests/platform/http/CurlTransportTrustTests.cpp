#include "support/Browser.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace platform::testing {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

constexpr long validSeconds = 3600;

// Signed by itself, for this very host: all is well with it but that nobody vouches for it.
Certificate certificateOf(EVP_PKEY* key) {
    Certificate certificate(X509_new(), &X509_free);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -validSeconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validSeconds);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    const auto* const host = reinterpret_cast<const unsigned char*>("localhost");
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, host, -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    X509_sign(certificate.get(), key, EVP_sha256());
    return certificate;
}

class TlsServer {
public:
    TlsServer() {
        server_.Get("/", [this](const httplib::Request&, httplib::Response&) { ++requests; });
        port = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
    }
    ~TlsServer() {
        server_.stop();
        thread_.join();
    }
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;

    int port = 0;
    std::atomic<int> requests = 0;

private:
    Key key_{EVP_EC_gen("P-256"), &EVP_PKEY_free};
    Certificate certificate_ = certificateOf(key_.get());
    httplib::SSLServer server_{certificate_.get(), key_.get()};
    std::thread thread_;
};

TEST(CurlTransportTrust, SendsNothingToAServerThatNobodyVouchesFor) {
    TlsServer server;
    httplib::SSLClient careless("localhost", server.port);
    careless.enable_server_certificate_verification(false);
    ASSERT_TRUE(careless.Get("/")) << "the server does not work";
    ASSERT_EQ(server.requests, 1);
    veskline::testing::Browser browser;
    const std::string outcome =
        browser.outcome({.method = "GET", .url = "https://localhost:" + std::to_string(server.port) + "/"});
    EXPECT_TRUE(outcome.starts_with("Could not make a secure connection to the server: ")) << outcome;
    EXPECT_EQ(server.requests, 1);
}

} // namespace
} // namespace platform::testing
