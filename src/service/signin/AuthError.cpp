#include "service/signin/AuthError.h"

namespace tovri {

Error AuthError::noClientID() {
    return {ErrorCase::noClientID, "No Client ID configured. Add your put.io OAuth Client ID in Settings."};
}

Error AuthError::invalidURL() {
    return {ErrorCase::invalidURL, "Failed to build authentication URL."};
}

Error AuthError::noCallback() {
    return {ErrorCase::noCallback, "Authentication was cancelled."};
}

Error AuthError::noToken() {
    return {ErrorCase::noToken, "No access token received from put.io."};
}

}  // namespace tovri
