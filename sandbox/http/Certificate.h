#pragma once

#include <memory>
#include <string>

struct x509_st;
struct evp_pkey_st;

namespace tovri::sandbox {

// A key and a certificate for localhost and 127.0.0.1 that signs itself, so that a client who trusts its PEM text
// trusts the servers. Made anew for each run; the key never leaves the process.
class Certificate {
public:
    // Throws std::runtime_error when the cryptography library fails.
    Certificate();

    x509_st* x509() const { return x509_.get(); }

    evp_pkey_st* key() const { return key_.get(); }

    std::string pem() const;

private:
    struct Free {
        void operator()(x509_st* x509) const;
        void operator()(evp_pkey_st* key) const;
    };

    std::unique_ptr<evp_pkey_st, Free> key_;
    std::unique_ptr<x509_st, Free> x509_;
};

}  // namespace tovri::sandbox
