#include "service/records/AccountInfo.h"

#include <cstdint>

#include "base/ByteCountFormat.h"
#include "platform/Await.h"
#include "service/records/JSONCoding.h"
#include "service/requests/APIError.h"
#include "service/signin/SignInRedirect.h"

namespace tovri {
namespace {

constexpr std::string_view nameKey = "lastAccount";
constexpr std::string_view tokenKey = "lastAccountToken";
constexpr std::chrono::seconds pauseBetweenTries{30};

// FNV-1a of 32 bits: enough to know a token again, and too little to be of use to anybody else.
std::string fingerprint(std::string_view token) {
    std::uint32_t hash = 2'166'136'261U;
    for (const char c : token) hash = (hash ^ static_cast<unsigned char>(c)) * 16'777'619U;
    return std::to_string(hash);
}

}  // namespace

AccountInfo::AccountInfo(AuthManager& auth, HTTPSession& session, const Platform& platform, const ServiceHosts& hosts,
                         UserDefaults& defaults)
    : auth_(auth),
      session_(session),
      platform_(platform),
      address_(hosts.api + "/v2/account/info"),
      defaults_(defaults),
      following_(auth.onChange([this](AuthManager::Change) { follow(); })) {}

Task<Result<PutIOAccount>> AccountInfo::lookUp(std::string token, std::stop_token stop) {
    if (!isAccessToken(token)) co_return failure(APIError::notAuthenticated());
    HTTPRequest request;
    request.url = address_;
    request.headers.emplace_back("Authorization", "Bearer " + token);
    Result<HTTPResponse> response = co_await Answer<HTTPResponse>(
        platform_.loop, std::move(stop), [&](auto done) { return session_.send(std::move(request), std::move(done)); });
    if (!response) co_return failure(response);
    if (response->status == 401) co_return failure(APIError::notAuthenticated());
    if (response->status < 200 || response->status > 299) co_return failure(APIError::httpError(response->status));
    Result<PutIOAccountResponse> answer = decodeJSON<PutIOAccountResponse>(response->body);
    if (!answer) co_return failure(answer);
    if (answer->info.username.empty()) co_return failure(APIError::invalidResponse());
    co_return std::move(answer->info);
}

Task<Result<PutIOAccount>> AccountInfo::refresh(std::stop_token stop) {
    const std::optional<std::string> token = auth_.token();
    if (!token) co_return failure(APIError::notAuthenticated());
    const bool isFresh = askedAt_ && platform_.loop.now() - *askedAt_ < freshness;
    if (known_ && token_ == token && isFresh) co_return *known_;
    Result<PutIOAccount> account = co_await lookUp(*token, std::move(stop));
    if (account && auth_.token() == token) remember(*token, *account);
    co_return account;
}

void AccountInfo::refreshSoon() {
    if (std::exchange(isRefreshing_, true)) return;
    scope_.start(refreshUntilNamed(scope_.stopToken()));
}

Task<> AccountInfo::refreshUntilNamed(std::stop_token stop) {
    const Result<PutIOAccount> account = co_await refresh(std::move(stop));
    isRefreshing_ = false;
    if (account || name() || !auth_.isAuthenticated()) co_return;
    retry_ = platform_.loop.schedule(pauseBetweenTries, [this] { refreshSoon(); });
}

void AccountInfo::beginWatching() {
    if (auth_.isAuthenticated()) refreshSoon();
    watching_ = platform_.loop.schedule(freshness + std::chrono::seconds(30), [this] { beginWatching(); });
}

void AccountInfo::remember(const std::string& token, const PutIOAccount& account) {
    token_ = token;
    askedAt_ = platform_.loop.now();
    const std::string mark = fingerprint(token);
    if (defaults_.string(nameKey) != account.username) defaults_.setString(nameKey, account.username);
    if (defaults_.string(tokenKey) != mark) defaults_.setString(tokenKey, mark);
    if (known_ == account) return;
    known_ = account;
    changes_.tell();
}

std::optional<std::string> AccountInfo::name() const {
    const std::optional<std::string>& token = auth_.token();
    if (!token) return std::nullopt;
    if (known_ && token_ == token) return known_->username;
    return defaults_.string(tokenKey) == fingerprint(*token) ? defaults_.string(nameKey) : std::nullopt;
}

std::optional<std::string> AccountInfo::lastName() const {
    return defaults_.string(nameKey);
}

void AccountInfo::follow() {
    if (auth_.token() == token_ || !known_) return;
    known_.reset();
    token_.reset();
    changes_.tell();
}

std::optional<ByteCount> freeSpace(const PutIOAccount& account) {
    if (!account.disk || !account.disk->size || !account.disk->used) return std::nullopt;
    const ByteCount used = *account.disk->used;
    if (used < 0 || *account.disk->size < used) return std::nullopt;
    return *account.disk->size - used;
}

std::string accountText(const PutIOAccount& account) {
    std::string text = account.username;
    if (account.disk && account.disk->used) text += " · " + formatByteCount(*account.disk->used) + " used";
    if (const auto left = freeSpace(account)) text += " · " + formatByteCount(*left) + " free";
    return text;
}

}  // namespace tovri
