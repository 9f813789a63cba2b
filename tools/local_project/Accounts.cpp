#include "local_project/Accounts.h"

#include "local_project/Digest.h"
#include "local_project/Secrets.h"

#include <algorithm>
#include <cctype>
#include <map>

#include <fmt/format.h>

namespace local_project {

using nlohmann::json;

namespace {

constexpr std::size_t shortestPassword = 6;

Response refusedGrant(const std::string& description) {
    return jsonResponse(400, {{"error", "invalid_grant"}, {"error_description", description}});
}

std::string lowered(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char byte) { return static_cast<char>(tolower(byte)); });
    return text;
}

// The text under a key; the empty text where it is missing or no string.
std::string field(const json& body, const char* key) {
    const auto found = body.find(key);
    return found != body.end() && found->is_string() ? found->get<std::string>() : std::string();
}

json userJson(const User& user, const std::string& createdAt) {
    return {{"id", user.id}, {"email", user.email}, {"role", "authenticated"}, {"created_at", createdAt}};
}

} // namespace

Accounts::Accounts(Database& database, const Options& options) : database_(database), options_(options) {
    database_.run("CREATE TABLE IF NOT EXISTS users(id TEXT PRIMARY KEY, email TEXT NOT NULL UNIQUE, "
                  "salt TEXT NOT NULL, password TEXT NOT NULL, confirmed INTEGER NOT NULL, created_at TEXT NOT NULL)");
    database_.run("CREATE TABLE IF NOT EXISTS access_tokens(digest TEXT PRIMARY KEY, "
                  "user_id TEXT NOT NULL REFERENCES users(id), session TEXT NOT NULL, expires_at INTEGER NOT NULL)");
    database_.run("CREATE TABLE IF NOT EXISTS refresh_tokens(digest TEXT PRIMARY KEY, "
                  "user_id TEXT NOT NULL REFERENCES users(id), session TEXT NOT NULL, "
                  "used INTEGER NOT NULL DEFAULT 0)");
    for (const Credentials& credentials : options.users) {
        provide(credentials);
    }
}

std::int64_t Accounts::now() const {
    return std::chrono::duration_cast<std::chrono::seconds>(options_.clock().time_since_epoch()).count();
}

std::optional<Accounts::Account> Accounts::find(const std::string& column, const std::string& value) {
    const auto rows = database_.run(
        "SELECT id, email, salt, password, confirmed, created_at FROM users WHERE " + column + " = ?", {value});
    if (rows.empty()) {
        return std::nullopt;
    }
    const Record& row = rows.front();
    return Account{.user = {.id = textOf(row[0]), .email = textOf(row[1])},
                   .salt = textOf(row[2]),
                   .passwordDigest = textOf(row[3]),
                   .isConfirmed = integerOf(row[4]) != 0,
                   .createdAt = textOf(row[5])};
}

Accounts::Account Accounts::create(const Credentials& credentials, bool isConfirmed) {
    const std::string salt = randomToken(16);
    const Account account{.user = {.id = randomUuid(), .email = lowered(credentials.email)},
                          .salt = salt,
                          .passwordDigest = passwordDigest(credentials.password, salt),
                          .isConfirmed = isConfirmed,
                          .createdAt = timestampOf(options_.clock())};
    database_.run("INSERT INTO users(id, email, salt, password, confirmed, created_at) VALUES(?, ?, ?, ?, ?, ?)",
                  {account.user.id, account.user.email, account.salt, account.passwordDigest, std::int64_t{isConfirmed},
                   account.createdAt});
    return account;
}

void Accounts::provide(const Credentials& credentials) {
    database_.inTransaction([&] {
        const auto known = find("email", lowered(credentials.email));
        if (!known) {
            create(credentials, true);
            return;
        }
        database_.run("UPDATE users SET password = ?, confirmed = 1 WHERE id = ?",
                      {passwordDigest(credentials.password, known->salt), known->user.id});
    });
}

bool Accounts::confirm(const std::string& email) {
    return !database_.run("UPDATE users SET confirmed = 1 WHERE email = ? RETURNING id", {lowered(email)}).empty();
}

Response Accounts::answer(const Request& request) {
    const json body = json::parse(request.text, nullptr, false);
    if (!body.is_object()) {
        return refusal(400, "bad_json", "The body is no JSON object");
    }
    if (request.path == "/auth/v1/signup") {
        return signUp(body);
    }
    if (request.path != "/auth/v1/token") {
        return refusal(404, "not_found", "There is no such path");
    }
    const Fields query = request.head.query();
    const auto grant = std::ranges::find(query, "grant_type", &Fields::value_type::first);
    if (grant != query.end() && grant->second == "password") {
        return signIn(body);
    }
    if (grant != query.end() && grant->second == "refresh_token") {
        return refresh(body);
    }
    return jsonResponse(400, {{"error", "unsupported_grant_type"}});
}

Response Accounts::signIn(const json& body) {
    const auto account = find("email", lowered(field(body, "email")));
    if (!account || passwordDigest(field(body, "password"), account->salt) != account->passwordDigest) {
        return refusedGrant("Invalid login credentials");
    }
    if (!account->isConfirmed) {
        return refusedGrant("Email not confirmed");
    }
    return jsonResponse(200, openSession(*account));
}

Response Accounts::refresh(const json& body) {
    return database_.inTransaction([&] {
        const auto used =
            database_.run("UPDATE refresh_tokens SET used = 1 WHERE digest = ? AND used = 0 RETURNING user_id, session",
                          {Digest::of(field(body, "refresh_token"))});
        const auto account = used.empty() ? std::nullopt : find("id", textOf(used.front()[0]));
        return account ? jsonResponse(200, issueTokens(*account, textOf(used.front()[1])))
                       : refusedGrant("Invalid Refresh Token: unknown or already used");
    });
}

Response Accounts::signOut(const std::string& accessToken, const Fields& query) {
    static const std::map<std::string, std::string> sessions = {
        {"global", ""}, {"local", " AND t.session = own.session"}, {"others", " AND t.session <> own.session"}};
    const auto scope = std::ranges::find(query, "scope", &Fields::value_type::first);
    const auto ending = sessions.find(scope == query.end() ? "global" : scope->second);
    if (ending == sessions.end()) {
        return refusal(400, "validation_failed", "The scope is one of global, local and others");
    }
    database_.inTransaction([&] {
        // The access tokens go last: one of them says who asks.
        for (const char* tokens : {"refresh_tokens", "access_tokens"}) {
            database_.run(fmt::format("DELETE FROM {0} WHERE digest IN (SELECT t.digest FROM {0} t "
                                      "JOIN access_tokens own ON own.user_id = t.user_id WHERE own.digest = ?{1})",
                                      tokens, ending->second),
                          {Digest::of(accessToken)});
        }
    });
    return {.status = 204};
}

Response Accounts::signUp(const json& body) {
    const Credentials credentials{.email = field(body, "email"), .password = field(body, "password")};
    if (credentials.email.find('@') == std::string::npos) {
        return refusal(400, "validation_failed", "Unable to validate email address: invalid format");
    }
    if (credentials.password.size() < shortestPassword) {
        return refusal(422, "weak_password", "Password should be at least 6 characters");
    }
    return database_.inTransaction([&] {
        if (find("email", lowered(credentials.email))) {
            return refusal(422, "user_already_exists", "User already registered");
        }
        const bool isOpen = options_.signup == SignupPolicy::opensSession;
        const Account account = create(credentials, isOpen);
        const json user = userJson(account.user, account.createdAt);
        const json session = isOpen ? openSession(account) : json();
        if (options_.signupReply == SignupReply::topLevel) {
            return jsonResponse(200, isOpen ? session : user);
        }
        return jsonResponse(200, {{"user", user}, {"session", session}});
    });
}

json Accounts::openSession(const Account& account) {
    return issueTokens(account, randomUuid());
}

json Accounts::issueTokens(const Account& account, const std::string& session) {
    const std::string access = randomToken();
    const std::string refresh = randomToken();
    const auto lifetime = options_.tokenLifetime.count();
    database_.run("INSERT INTO access_tokens(digest, user_id, session, expires_at) VALUES(?, ?, ?, ?)",
                  {Digest::of(access), account.user.id, session, now() + lifetime});
    database_.run("INSERT INTO refresh_tokens(digest, user_id, session) VALUES(?, ?, ?)",
                  {Digest::of(refresh), account.user.id, session});
    return {{"access_token", access},   {"token_type", "bearer"},
            {"expires_in", lifetime},   {"expires_at", now() + lifetime},
            {"refresh_token", refresh}, {"user", userJson(account.user, account.createdAt)}};
}

std::optional<User> Accounts::userOf(const std::string& accessToken) {
    const auto rows = database_.run("SELECT u.id, u.email FROM access_tokens t JOIN users u ON u.id = t.user_id "
                                    "WHERE t.digest = ? AND t.expires_at > ?",
                                    {Digest::of(accessToken), now()});
    if (rows.empty()) {
        return std::nullopt;
    }
    return User{.id = textOf(rows.front()[0]), .email = textOf(rows.front()[1])};
}

Response Accounts::describe(const User& user) {
    const auto account = find("id", user.id);
    return account ? jsonResponse(200, userJson(account->user, account->createdAt))
                   : refusal(404, "user_not_found", "User not found");
}

void Accounts::expireAccessTokens() {
    database_.run("DELETE FROM access_tokens");
}

void Accounts::revokeRefreshTokens() {
    database_.run("DELETE FROM refresh_tokens");
}

json Accounts::state() {
    json users = json::array();
    for (const Record& row : database_.run("SELECT id, email, confirmed, created_at FROM users ORDER BY rowid")) {
        users.push_back({{"id", textOf(row[0])},
                         {"email", textOf(row[1])},
                         {"confirmed", integerOf(row[2]) != 0},
                         {"created_at", textOf(row[3])}});
    }
    return users;
}

} // namespace local_project
