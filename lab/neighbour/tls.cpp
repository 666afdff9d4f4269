#include "neighbour/tls.h"

#include <fcntl.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace neighbour {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, CloseFile>;

struct FreeKey {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct FreeCertificate {
    void operator()(X509* certificate) const { X509_free(certificate); }
};

bool limit_version(SSL_CTX* context, const std::string& version) {
    if (version.empty()) return true;
    const int number = version == "1.2" ? TLS1_2_VERSION : TLS1_3_VERSION;
    return SSL_CTX_set_min_proto_version(context, number) == 1 && SSL_CTX_set_max_proto_version(context, number) == 1;
}

ContextPointer make_context(const SSL_METHOD* method, const TlsSettings& settings, std::string& problem) {
    ContextPointer context(SSL_CTX_new(method));
    if (!context || !limit_version(context.get(), settings.version)) {
        problem = "no TLS context: " + openssl_problem();
        return nullptr;
    }
    // Controllers may close without a farewell; what came before is whole all the same.
    SSL_CTX_set_options(context.get(), SSL_OP_IGNORE_UNEXPECTED_EOF);
    return context;
}

// A certificate of its own for one run; nobody verifies it.
bool use_certificate_made_here(SSL_CTX* context) {
    const std::unique_ptr<EVP_PKEY, FreeKey> key(EVP_EC_gen("P-256"));
    const std::unique_ptr<X509, FreeCertificate> certificate(X509_new());
    if (!key || !certificate) return false;
    constexpr long day = 24L * 60 * 60;
    X509* const x = certificate.get();
    X509_NAME* const name = X509_get_subject_name(x);
    constexpr std::array<unsigned char, 10> commonName = {"neighbour"};
    return X509_set_version(x, X509_VERSION_3) == 1 && ASN1_INTEGER_set(X509_get_serialNumber(x), 1) == 1 &&
           X509_gmtime_adj(X509_getm_notBefore(x), -day) != nullptr &&
           X509_gmtime_adj(X509_getm_notAfter(x), 30 * day) != nullptr && X509_set_pubkey(x, key.get()) == 1 &&
           X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, commonName.data(), -1, -1, 0) == 1 &&
           X509_set_issuer_name(x, name) == 1 && X509_sign(x, key.get(), EVP_sha256()) > 0 &&
           SSL_CTX_use_certificate(context, x) == 1 && SSL_CTX_use_PrivateKey(context, key.get()) == 1;
}

bool use_certificate_files(SSL_CTX* context, const TlsSettings& settings) {
    const std::string& keyFile = settings.keyFile.empty() ? settings.certificateFile : settings.keyFile;
    return SSL_CTX_use_certificate_chain_file(context, settings.certificateFile.c_str()) == 1 &&
           SSL_CTX_use_PrivateKey_file(context, keyFile.c_str(), SSL_FILETYPE_PEM) == 1 &&
           SSL_CTX_check_private_key(context) == 1;
}

}  // namespace

ContextPointer make_client_context(const TlsSettings& settings, std::string& problem) {
    return make_context(TLS_client_method(), settings, problem);
}

ContextPointer make_server_context(const TlsSettings& settings, std::string& problem) {
    ContextPointer context = make_context(TLS_server_method(), settings, problem);
    if (!context) return nullptr;
    const bool usable = settings.certificateFile.empty() ? use_certificate_made_here(context.get())
                                                         : use_certificate_files(context.get(), settings);
    if (!usable) {
        problem = "no usable certificate and key: " + openssl_problem();
        return nullptr;
    }
    return context;
}

SessionPointer load_session(const std::string& file) {
    const FilePointer in(std::fopen(file.c_str(), "re"));
    if (!in) return nullptr;
    SessionPointer session(PEM_read_SSL_SESSION(in.get(), nullptr, nullptr, nullptr));
    ERR_clear_error();
    return session;
}

bool save_session(const std::string& file, SSL_SESSION* session) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) return false;
    const FilePointer out(fdopen(descriptor, "w"));
    return out && PEM_write_SSL_SESSION(out.get(), session) == 1 && std::fflush(out.get()) == 0;
}

std::string openssl_problem() {
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    if (code == 0) return "no reason given";
    if (ERR_SYSTEM_ERROR(code)) return std::strerror(ERR_GET_REASON(code));
    const char* const reason = ERR_reason_error_string(code);
    return reason == nullptr ? "error " + std::to_string(code) : reason;
}

}  // namespace neighbour
