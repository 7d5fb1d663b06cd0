#include "sandbox/http/Certificate.h"

#include <stdexcept>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace tovri::sandbox {
namespace {

constexpr long day = 24L * 60 * 60;

void require(bool succeeded) {
    if (!succeeded) throw std::runtime_error("cannot make a certificate");
}

void addExtension(X509* x509, int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, x509, x509, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value);
    require(extension != nullptr);
    X509_add_ext(x509, extension, -1);
    X509_EXTENSION_free(extension);
}

void setSerial(X509* x509) {
    std::uint32_t serial = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(x509), serial);
}

}  // namespace

void Certificate::Free::operator()(x509_st* x509) const {
    X509_free(x509);
}

void Certificate::Free::operator()(evp_pkey_st* key) const {
    EVP_PKEY_free(key);
}

Certificate::Certificate() : key_(EVP_EC_gen("P-256")), x509_(X509_new()) {
    require(key_ && x509_);
    X509_set_version(x509(), X509_VERSION_3);
    setSerial(x509());
    X509_gmtime_adj(X509_getm_notBefore(x509()), -day);
    X509_gmtime_adj(X509_getm_notAfter(x509()), 30 * day);
    X509_set_pubkey(x509(), key());
    X509_NAME* name = X509_get_subject_name(x509());
    const auto* commonName = reinterpret_cast<const unsigned char*>("Tovri sandbox");
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, commonName, -1, -1, 0) == 1);
    X509_set_issuer_name(x509(), name);
    addExtension(x509(), NID_basic_constraints, "critical,CA:TRUE");
    addExtension(x509(), NID_key_usage, "critical,digitalSignature,keyCertSign");
    addExtension(x509(), NID_ext_key_usage, "serverAuth");
    addExtension(x509(), NID_subject_key_identifier, "hash");
    addExtension(x509(), NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1");
    require(X509_sign(x509(), key(), EVP_sha256()) != 0);
}

std::string Certificate::pem() const {
    BIO* memory = BIO_new(BIO_s_mem());
    require(memory != nullptr && PEM_write_bio_X509(memory, x509()) == 1);
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory, &text);
    std::string pem(text, static_cast<std::size_t>(length));
    BIO_free(memory);
    return pem;
}

}  // namespace tovri::sandbox
