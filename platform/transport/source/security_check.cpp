// The part of SecurityFiles that reads the files. The engine checks most of this too, but does not say which file it
// means, and takes a key that belongs to another certificate: then nobody would ever be heard.
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "security.h"

namespace qx::transport {
namespace {

constexpr std::size_t file_bytes_max = 1U << 20U;

template <auto Function>
struct Free {
    template <class T>
    void operator()(T* object) const noexcept
    {
        Function(object);
    }
};
using Bio = std::unique_ptr<BIO, Free<&BIO_free_all>>;
using Certificate = std::unique_ptr<X509, Free<&X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Free<&EVP_PKEY_free>>;
using Store = std::unique_ptr<X509_STORE, Free<&X509_STORE_free>>;
using StoreContext = std::unique_ptr<X509_STORE_CTX, Free<&X509_STORE_CTX_free>>;
using Signed = std::unique_ptr<PKCS7, Free<&PKCS7_free>>;
using File = std::unique_ptr<std::FILE, Free<&std::fclose>>;

[[noreturn]] void refuse(const NamedFile& file, const std::string& what)
{
    throw TransportError(LBM_EINVAL, std::string{"option \""} + file.option + "\", " + file.path + ": " + what);
}

std::string contents(const NamedFile& named)
{
    const File file{std::fopen(named.path.c_str(), "rb")};
    std::string bytes(file_bytes_max + 1, '\0');
    const std::size_t size = file ? std::fread(bytes.data(), 1, bytes.size(), file.get()) : 0;
    if (!file || std::ferror(file.get()) != 0) {
        refuse(named, std::strerror(errno));
    }
    if (size == 0 || size > file_bytes_max) {
        refuse(named, size == 0 ? "is empty" : "has more than 1 MiB");
    }
    bytes.resize(size);
    return bytes;
}

Bio reader_of(const std::string& bytes)
{
    return Bio{BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size()))};
}

/// Nobody is asked: a process that starts by itself has no terminal.
int no_password(char*, int, int, void*) noexcept
{
    return 0;
}

Certificate read_certificate(const NamedFile& file)
{
    const std::string bytes = contents(file);
    Certificate certificate{PEM_read_bio_X509(reader_of(bytes).get(), nullptr, &no_password, nullptr)};
    if (!certificate) {
        refuse(file, "is no certificate in PEM form");
    }
    return certificate;
}

Store trusting(X509* authority)
{
    Store store{X509_STORE_new()};
    X509_STORE_add_cert(store.get(), authority);
    return store;
}

StoreContext verification(const Store& store, X509* certificate)
{
    StoreContext context{X509_STORE_CTX_new()};
    X509_STORE_CTX_init(context.get(), store.get(), certificate, nullptr);
    return context;
}

void check_certificate(const NamedFile& file, X509* certificate, const NamedFile& authority_file, X509* authority)
{
    const Store store = trusting(authority);
    const StoreContext context = verification(store, certificate);
    if (X509_verify_cert(context.get()) == 1) {
        return;
    }
    const bool of_authority = X509_STORE_CTX_get_error_depth(context.get()) > 0;
    const std::string reason = X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get()));
    if (of_authority) {
        refuse(authority_file, reason);
    }
    refuse(file, reason + " (authority: " + authority_file.path + ")");
}

void check_key(const NamedFile& file, const NamedFile& certificate_file, X509* certificate)
{
    const std::string bytes = contents(file);
    const Key key{PEM_read_bio_PrivateKey(reader_of(bytes).get(), nullptr, &no_password, nullptr)};
    if (!key) {
        refuse(file, "is no private key in PEM form without a password");
    }
    if (X509_check_private_key(certificate, key.get()) != 1) {
        refuse(file, "does not belong to the certificate " + certificate_file.path);
    }
}

std::string last_reason()
{
    const char* detail = nullptr;
    int flags = 0;
    const unsigned long code = ERR_peek_last_error_all(nullptr, nullptr, nullptr, &detail, &flags);
    const char* const reason = ERR_reason_error_string(code);
    std::string text = reason != nullptr ? reason : "unknown reason";
    if ((static_cast<unsigned>(flags) & ERR_TXT_STRING) != 0 && detail != nullptr && *detail != '\0') {
        text += std::string{", "} + detail;
    }
    return text;
}

/// A document counts as signed by the authority when anybody whom that has certified signed it.
void check_certifies_no_identity(const NamedFile& file, const Store& store, X509* identity)
{
    if (X509_verify_cert(verification(store, identity).get()) == 1) {
        refuse(file, "this authority certifies identities, too, and each of them could sign permissions; use another");
    }
}

void check_document(const NamedFile& file, const NamedFile& authority_file, const Store& store)
{
    const std::string bytes = contents(file);
    BIO* raw_content = nullptr;
    const Signed document{SMIME_read_PKCS7(reader_of(bytes).get(), &raw_content)};
    const Bio content{raw_content};
    if (!document) {
        refuse(file, "is no document signed as S/MIME");
    }
    const Bio text{BIO_new(BIO_s_mem())};
    if (PKCS7_verify(document.get(), nullptr, store.get(), content.get(), text.get(), PKCS7_TEXT) != 1) {
        refuse(file, "is not as " + authority_file.path + " signed it: " + last_reason());
    }
}

/// What a failure leaves behind must not be taken for that of another's call on this thread.
struct CleanErrors {
    CleanErrors() = default;
    ~CleanErrors() { ERR_clear_error(); }
    CleanErrors(const CleanErrors&) = delete;
    CleanErrors& operator=(const CleanErrors&) = delete;
};

} // namespace

void SecurityFiles::check() const
{
    const CleanErrors clean;
    const Certificate authority = read_certificate(identity_ca());
    const Certificate identity = read_certificate(identity_certificate());
    check_certificate(identity_certificate(), identity.get(), identity_ca(), authority.get());
    check_key(private_key(), identity_certificate(), identity.get());
    const Certificate permissions_authority = read_certificate(permissions_ca());
    const Store store = trusting(permissions_authority.get());
    check_certifies_no_identity(permissions_ca(), store, identity.get());
    check_document(governance(), permissions_ca(), store);
    check_document(permissions(), permissions_ca(), store);
}

} // namespace qx::transport
