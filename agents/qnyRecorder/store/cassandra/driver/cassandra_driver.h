/* SPDX-License-Identifier: Apache-2.0 */
#ifndef CASSANDRA_DRIVER_H
#define CASSANDRA_DRIVER_H

/* A blocking C interface to the Cassandra driver, which is written in Rust (driver/src).
 *
 * Threads    Every function may be called from any thread, on the same session and statement at once.
 * Ownership  Whoever gets a session, statement or answer frees it, statements before their session. Freeing NULL does
 *            nothing. Strings and bytes that are given are copied or no longer needed when the call returns.
 * Errors     Every call that can fail returns an answer, never NULL, which says what went wrong. A panic inside the
 *            driver, or a NULL where none may be, becomes an answer of kind CASSANDRA_INTERNAL. */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct cassandra_session cassandra_session;
typedef struct cassandra_statement cassandra_statement;
typedef struct cassandra_answer cassandra_answer;

typedef enum cassandra_error {
    CASSANDRA_OK = 0,
    CASSANDRA_UNREACHABLE = 1, /* nothing was done: no server, or too few replicas are up */
    CASSANDRA_UNKNOWN = 2, /* no answer in time, or the connection broke: it may have been done or not */
    CASSANDRA_WRONG_PASSWORD = 3, /* user or password are wrong, or missing */
    CASSANDRA_NOT_PERMITTED = 4, /* the user may not do that */
    CASSANDRA_TLS = 5, /* one side speaks TLS and the other does not, or the certificates do not fit */
    CASSANDRA_BAD_CA = 6, /* the file of certificate authorities cannot be used */
    CASSANDRA_REFUSED = 7, /* the server understood, and will not: no such keyspace or table, a wrong statement */
    CASSANDRA_INTERNAL = 8 /* a fault of the driver or of its caller */
} cassandra_error;

typedef struct cassandra_options {
    const char* host; /* a name or an address; IPv6 without brackets */
    uint16_t port;
    const char* user; /* NULL or empty: no authentication */
    const char* password;
    int32_t tls; /* not 0: encrypt, and check the server's certificate */
    const char* tls_ca_file; /* PEM; NULL or empty: the authorities that the system trusts */
    const char* consistency; /* "LOCAL_QUORUM", "QUORUM", "ONE", ...; conditional writes follow it */
    uint32_t connect_timeout_ms; /* for the whole of cassandra_connect() */
} cassandra_options;

typedef enum cassandra_type {
    CASSANDRA_NULL = 0,
    CASSANDRA_INTEGER = 1, /* bigint; in answers also counter, int and boolean (0 or 1) */
    CASSANDRA_TEXT = 2, /* text, UTF-8 */
    CASSANDRA_BLOB = 3,
    CASSANDRA_UNSET = 4 /* only given: the column stays as it is */
} cassandra_type;

typedef struct cassandra_value {
    cassandra_type type;
    int64_t integer;
    const void* bytes; /* of texts and blobs */
    size_t size;
} cassandra_value;

typedef enum cassandra_kind {
    CASSANDRA_WRITE = 0, /* by full key: may be done twice, and is sent to a second node when the first is slow */
    CASSANDRA_READ = 1, /* as are reads */
    CASSANDRA_CONDITIONAL = 2, /* has an IF; see cassandra_answer_applied() */
    CASSANDRA_SERIAL_READ = 3, /* a read that sees every conditional write that was begun before */
    CASSANDRA_COUNT = 4 /* changes a counter: never repeated by the driver */
} cassandra_kind;

/* One row to write. */
typedef struct cassandra_row {
    const cassandra_statement* statement; /* of kind CASSANDRA_WRITE */
    const cassandra_value* values;
    size_t count;
} cassandra_row;

/* Sets *session when it worked, else to NULL. */
cassandra_answer* cassandra_connect(const cassandra_options* options, cassandra_session** session);
void cassandra_disconnect(cassandra_session* session);
/* Later statements mean this keyspace; upper and lower case are different. */
cassandra_answer* cassandra_use_keyspace(cassandra_session* session, const char* keyspace, uint32_t timeout_ms);
/* A statement without values, such as those that make tables; returns when all nodes agree on the tables. */
cassandra_answer* cassandra_run(cassandra_session* session, const char* cql, uint32_t timeout_ms);

/* page_rows: most rows of one answer. Sets *statement when it worked, else to NULL. */
cassandra_answer* cassandra_prepare(cassandra_session* session, const char* cql, cassandra_kind kind, uint32_t page_rows,
    uint32_t timeout_ms, cassandra_statement** statement);
void cassandra_statement_free(cassandra_statement* statement);

/* Executes and waits for at most timeout_ms. `previous`: NULL, or this statement's last answer, whose next page is
 * wanted, with the same values. */
cassandra_answer* cassandra_execute(cassandra_session* session, const cassandra_statement* statement,
    const cassandra_value* values, size_t count, const cassandra_answer* previous, uint32_t timeout_ms);
/* Writes many rows, at most `in_flight` at a time and in no particular order. Each may take timeout_ms. Ends with the
 * first that fails: which others were written is then unknown. */
cassandra_answer* cassandra_write_rows(cassandra_session* session, const cassandra_row* rows, size_t count,
    uint32_t in_flight, uint32_t timeout_ms);

cassandra_error cassandra_answer_error(const cassandra_answer* answer);
/* A sentence for a person; "" when all is well. Lives as long as the answer. */
const char* cassandra_answer_text(const cassandra_answer* answer);
/* Of a conditional write: whether its condition held, so that it was done. */
int32_t cassandra_answer_applied(const cassandra_answer* answer);
size_t cassandra_answer_rows(const cassandra_answer* answer);
size_t cassandra_answer_columns(const cassandra_answer* answer);
int32_t cassandra_answer_has_more(const cassandra_answer* answer);
/* Bytes live as long as the answer. CASSANDRA_NULL beyond the last row or column. */
cassandra_value cassandra_answer_value(const cassandra_answer* answer, size_t row, size_t column);
void cassandra_answer_free(cassandra_answer* answer);

/* For tests: panics inside. */
cassandra_answer* cassandra_panic_on_purpose(void);

#ifdef __cplusplus
}
#endif

#endif
