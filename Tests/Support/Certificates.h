#pragma once

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace kaleo::testing {

/// A certificate and the key that it was made for.
struct Identity {
  std::shared_ptr<X509> certificate;
  std::shared_ptr<EVP_PKEY> key;

  void save(const std::filesystem::path& certificateFile, const std::filesystem::path& keyFile) const {
    write(certificateFile, [&](FILE* file) { return PEM_write_X509(file, certificate.get()); });
    write(keyFile, [&](FILE* file) { return PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
  }

 private:
  template <class Write>
  static void write(const std::filesystem::path& path, Write body) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "w"), std::fclose);
    if (!file || body(file.get()) != 1) throw std::runtime_error("cannot write " + path.string());
  }
};

/// An authority of the test's own, and the certificates (RFC 5280) that it gives to servers.
class CertificateAuthority {
 public:
  CertificateAuthority() {
    static int count = 0;  // two authorities of one name would be taken for each other
    identity_ = make("Test Authority " + std::to_string(++count), kYear);
    extend(*identity_.certificate, NID_basic_constraints, "critical,CA:TRUE");
    sign(*identity_.certificate);
  }

  /// `names` as OpenSSL writes alternative names, such as "DNS:localhost,IP:127.0.0.1". The certificate is valid from two days ago
  /// until `secondsLeft` from now.
  Identity issue(const std::string& names, long secondsLeft = kYear) const {
    Identity issued = make("Test Server", secondsLeft);
    extend(*issued.certificate, NID_subject_alt_name, names.c_str());
    sign(*issued.certificate);
    return issued;
  }

  /// The file that a client takes as its authorities.
  void save(const std::filesystem::path& certificateFile) const {
    identity_.save(certificateFile, certificateFile.string() + ".key");
  }

 private:
  static constexpr long kYear = 365l * 86400;
  static constexpr long kTwoDays = 2l * 86400;

  static Identity make(const std::string& commonName, long secondsLeft) {
    static long serial = 0;
    const Identity made{{X509_new(), X509_free}, {EVP_EC_gen("P-256"), EVP_PKEY_free}};
    X509* const certificate = made.certificate.get();
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), ++serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -kTwoDays);
    X509_gmtime_adj(X509_getm_notAfter(certificate), secondsLeft);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0);
    X509_set_pubkey(certificate, made.key.get());
    return made;
  }

  static void extend(X509& certificate, int nid, const char* value) {
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, nid, value);
    X509_add_ext(&certificate, extension, -1);
    X509_EXTENSION_free(extension);
  }

  void sign(X509& certificate) const {
    X509_set_issuer_name(&certificate, X509_get_subject_name(identity_.certificate.get()));
    if (X509_sign(&certificate, identity_.key.get(), EVP_sha256()) == 0) throw std::runtime_error("cannot sign");
  }

  Identity identity_;
};

}  // namespace kaleo::testing
