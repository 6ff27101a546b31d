/* Local-cache repositories, read-only: opens a repository in the restic format with a keyring of
 * passphrases and checks that it is intact. Plain C interface with opaque handles; every handle is
 * released by its own function. A function that can fail returns an error handle, NULL on success. */
#ifndef MIREL_H
#define MIREL_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct mirel_error mirel_error;
typedef struct mirel_keyring mirel_keyring;
typedef struct mirel_builder mirel_builder;
typedef struct mirel_repository mirel_repository;

/* Makes path reachable: a network share (\\server\share\...) is connected with the credentials
 * (either may be empty); any other path must be an existing, readable folder. */
mirel_error* mirel_setup_remote_connection(const char* path, const char* login, const char* password);

mirel_keyring* mirel_keyring_create(void);
/* A slot is "kind=secret"; kind "ckms" carries a passphrase. Malformed slots, unknown kinds and
 * empty secrets are refused. */
mirel_error* mirel_keyring_add_slot(mirel_keyring* keyring, const char* slot);
void mirel_keyring_free(mirel_keyring* keyring);

/* The builder setters return the builder they were given. */
mirel_builder* mirel_builder_new(void);
mirel_builder* mirel_builder_path(mirel_builder* builder, const char* path);
mirel_builder* mirel_builder_read_only(mirel_builder* builder, int read_only);
/* When the path holds a repository, one of its key files must open with one of the keyring's
 * passphrases. flags must be 0. The keyring is not kept; it may be freed afterwards. */
mirel_error* mirel_builder_keyring(mirel_builder* builder, const mirel_keyring* keyring, int flags);
/* Consumes the builder whatever happens. On success *repository is the open repository, else NULL. */
mirel_error* mirel_builder_open(mirel_builder* builder, mirel_repository** repository);
void mirel_builder_close(mirel_builder* builder);
void mirel_close(mirel_repository* repository);

/* Writes the error's message (one line) into buffer, truncated and NUL-terminated; returns the
 * message's full length. */
size_t mirel_error_print(const mirel_error* error, char* buffer, size_t capacity);
void mirel_error_free(mirel_error* error);

#ifdef __cplusplus
}
#endif

#endif
