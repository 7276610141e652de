// The functions of OpenSSL 3 that are called, loaded with the first use of a cipher or a hash.
#pragma once

#include "foundation/platform/linux/LateLibrary.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

namespace openssl {

inline constinit CLateLibrary library("libcrypto.so.3");
LOAM_LATE_FUNCTION(, ERR_peek_last_error);
LOAM_LATE_FUNCTION(, ERR_pop_to_mark);
LOAM_LATE_FUNCTION(, ERR_set_mark);
LOAM_LATE_FUNCTION(, EVP_CIPHER_CTX_free);
LOAM_LATE_FUNCTION(, EVP_CIPHER_CTX_is_encrypting);
LOAM_LATE_FUNCTION(, EVP_CIPHER_CTX_new);
LOAM_LATE_FUNCTION(, EVP_CIPHER_CTX_set_key_length);
LOAM_LATE_FUNCTION(, EVP_CIPHER_fetch);
LOAM_LATE_FUNCTION(, EVP_CIPHER_free);
LOAM_LATE_FUNCTION(, EVP_CipherFinal_ex);
LOAM_LATE_FUNCTION(, EVP_CipherInit_ex2);
LOAM_LATE_FUNCTION(, EVP_CipherUpdate);
LOAM_LATE_FUNCTION(, EVP_Digest);
LOAM_LATE_FUNCTION(, EVP_MD_fetch);
LOAM_LATE_FUNCTION(, EVP_MD_free);
LOAM_LATE_FUNCTION(, OSSL_LIB_CTX_free);
LOAM_LATE_FUNCTION(, OSSL_LIB_CTX_new);
LOAM_LATE_FUNCTION(, OSSL_PROVIDER_load);
LOAM_LATE_FUNCTION(, OSSL_PROVIDER_unload);

}  // namespace openssl
