#include "service/requests/APIError.h"

namespace tovri {

Error APIError::httpError(int status) {
    Error error(ErrorCase::httpStatus, "HTTP error " + std::to_string(status) + " from put.io.");
    error.httpStatus = status;
    return error;
}

Error APIError::notAuthenticated() {
    return {ErrorCase::notAuthenticated, "Not authenticated. Please sign in again."};
}

Error APIError::invalidURL() {
    return {ErrorCase::invalidURL, "Invalid API URL."};
}

Error APIError::invalidResponse() {
    return {ErrorCase::invalidResponse, "Invalid response from put.io."};
}

Error APIError::invalidDownloadURL() {
    return {ErrorCase::invalidDownloadURL, "Could not get download URL."};
}

Error APIError::rateLimited() {
    return {ErrorCase::rateLimited, "Rate limited by put.io. Please wait a moment."};
}

}  // namespace tovri
