#pragma once

#include "local_project/Database.h"
#include "local_project/Exchange.h"
#include "local_project/Options.h"

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace local_project {

struct User {
    std::string id;
    std::string email;
};

// The auth service: accounts, and sessions of access tokens with a lifetime and refresh tokens that are good once. All
// of it lies in the database, tokens as digests, so that sessions outlive a restart. May be used from any thread.
class Accounts {
public:
    Accounts(Database& database, const Options& options);

    // Creates the account, confirmed; an account that exists gets the password.
    void provide(const Credentials& credentials);

    // Confirms the address of a new account, as a click in the e-mail would. False where there is no such account.
    bool confirm(const std::string& email);

    // Answers POST /auth/v1/token and POST /auth/v1/signup; 404 for any other path.
    [[nodiscard]] Response answer(const Request& request);

    // Answers POST /auth/v1/logout: `scope` in the query names the user's sessions that end with all their tokens,
    // `global` (all, the default), `local` (the token's own) or `others`. The token is one that userOf() knows.
    [[nodiscard]] Response signOut(const std::string& accessToken, const Fields& query);

    // Whose access token this is; absent where it is unknown or has expired.
    [[nodiscard]] std::optional<User> userOf(const std::string& accessToken);

    // The answer to GET /auth/v1/user.
    [[nodiscard]] Response describe(const User& user);

    void expireAccessTokens();
    void revokeRefreshTokens();

    [[nodiscard]] nlohmann::json state();

private:
    struct Account {
        User user;
        std::string salt;
        std::string passwordDigest;
        bool isConfirmed = false;
        std::string createdAt;
    };

    [[nodiscard]] std::optional<Account> find(const std::string& column, const std::string& value);
    Account create(const Credentials& credentials, bool isConfirmed);
    [[nodiscard]] Response signIn(const nlohmann::json& body);
    [[nodiscard]] Response refresh(const nlohmann::json& body);
    [[nodiscard]] Response signUp(const nlohmann::json& body);
    [[nodiscard]] nlohmann::json openSession(const Account& account);
    [[nodiscard]] nlohmann::json issueTokens(const Account& account, const std::string& session);
    [[nodiscard]] std::int64_t now() const;

    Database& database_;
    const Options& options_;
};

} // namespace local_project
