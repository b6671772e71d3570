/* SPDX-License-Identifier: Apache-2.0 */
/* Quenary: an agent network.
 *
 * A peer is a process. It carries one or more agents, and finds the agents of every other peer of its network by itself:
 * agents publish on named outputs, map the outputs of others onto their own inputs, and call one another's services.
 *
 * Conventions that hold for every function below
 * ---------------------------------------------
 * Threads     Every function may be called from any thread, also from inside any callback, unless it says otherwise.
 *             Callbacks run one after another on one thread of the library's own ("the callback thread"), never on the
 *             caller's, and never while the library holds a lock. A callback that takes long delays the other callbacks
 *             of this process and nothing else: presence and the traffic of other peers go on.
 * Removal     A function that removes, replaces or destroys what has a callback returns when no such callback runs or
 *             will run any more. Called from inside a callback it does not wait for that callback itself.
 * Ownership   Strings and data handed in are copied. Strings handed out as `char *` belong to the caller, who gives them
 *             back with qny_free(). What a callback receives is the library's and valid until the callback returns.
 * Errors      Functions that can fail return qny_result_t, 0 being success. qny_last_error() then holds, for the calling
 *             thread, one sentence that says what was wrong. Null handles and null names are errors, never crashes.
 * Names       Any Unicode in valid UTF-8 but control characters, `"`, `\`, `/`, `*`, `?`; not empty; no blank at either
 *             end; no leading `-`; at most 255 bytes. Names of agents hold no `#` either (inputs may).
 * Before/after  Agents, inputs, outputs, services, mappings and observers may be set up before qny_start(), are kept over
 *             qny_stop(), and come alive again with the next qny_start().
 * Order       From one agent to one peer, publications and calls arrive in the order in which they were made.
 */
#ifndef QUENARY_H
#define QUENARY_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define QNY_EXPORT __attribute__((visibility("default")))
#else
#define QNY_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- results ------------------------------------------------------------------------------------------------------ */

typedef enum qny_result {
    QNY_SUCCESS = 0,
    QNY_ERROR_ARGUMENT,        /* a null pointer, an unknown enumerator, a number out of range */
    QNY_ERROR_NAME,            /* a name that breaks the rules above */
    QNY_ERROR_UTF8,            /* a string that is not valid UTF-8 */
    QNY_ERROR_EXISTS,          /* something of that name is there already */
    QNY_ERROR_UNKNOWN,         /* no such input, output, service, mapping or observer */
    QNY_ERROR_UNKNOWN_AGENT,   /* no such agent on the network now */
    QNY_ERROR_TYPE,            /* the value's type is not the output's or input's, and does not convert */
    QNY_ERROR_TOO_LARGE,       /* beyond max_message_bytes, or another stated bound */
    QNY_ERROR_STARTED,         /* not while the network is started */
    QNY_ERROR_NOT_STARTED,     /* only while the network is started */
    QNY_ERROR_DEVICE,          /* no such network device, or it has no usable address */
    QNY_ERROR_PORT_IN_USE,     /* another program holds the port */
    QNY_ERROR_SECURITY,        /* a start that could not be secured as asked */
    QNY_ERROR_SYSTEM           /* the operating system refused; the text says what */
} qny_result_t;

/* A fixed English word or two for a result. Never null. */
QNY_EXPORT const char *qny_result_text(qny_result_t result);
/* What was wrong in the calling thread's last failing call: one sentence. Never null; valid until that thread's next call. */
QNY_EXPORT const char *qny_last_error(void);
/* Frees what the library handed out as `char *`, arrays included. Null is allowed. */
QNY_EXPORT void qny_free(void *memory);
/* "1.0.0". */
QNY_EXPORT const char *qny_version(void);

/* ---- log ---------------------------------------------------------------------------------------------------------- */

typedef enum qny_log_level { QNY_LOG_DEBUG = 0, QNY_LOG_INFO, QNY_LOG_WARNING, QNY_LOG_ERROR } qny_log_level_t;
/* Called from any thread, possibly several at once. Must not call the library. */
typedef void (*qny_log_fn)(qny_log_level_t level, const char *message, void *user_data);
/* Replaces the log's destination; null restores the default, which writes warnings and errors to standard error. */
QNY_EXPORT void qny_log_set_handler(qny_log_fn handler, void *user_data);

/* ---- the network -------------------------------------------------------------------------------------------------- */

typedef struct qny_options {
    const char *device;          /* network device by name ("lo", "eth0") or address; null: the environment's QNY_DEVICE, else "lo" */
    uint16_t port;               /* UDP port of discovery, the same for all peers of a network; 0: QNY_PORT, else 5670 */
    const char *peers;           /* addresses of peers to try besides discovery, "host:port,host:port-port" (an IPv6 host in
                                    brackets; where they listen); at most 128 ports; null: QNY_PEERS, else none */
    uint16_t listen_port;        /* TCP port on which this peer is reached; 0: the first free one of QNY_LISTEN ("5671-5690"), else any */
    bool multicast;              /* discover by UDP multicast (on unless no network allows it); off: explicit peers only */
    const char* host_name; /* name shown for this machine, without control characters; null: QNY_HOST_NAME, else the
                              system's host name */
    size_t max_message_bytes;    /* bound on one call or publication, here and from others; 0: 64 MiB */
    size_t max_peer_queue_bytes; /* publications waiting for one slow peer; beyond it they are lost, and counted by the
                                    receiver; calls are never lost so, but a peer that lets four times as much wait
                                    (64 MiB at least) is cut off; 0: 256 MiB */
    const char *private_certificate;  /* path of this peer's certificate with its secret half; null or "": QNY_PRIVATE_CERTIFICATE */
    const char *public_certificates;  /* directory of the public certificates of the peers that are let in; null or "":
                                         QNY_PUBLIC_CERTIFICATES. With neither there is no security; one alone is refused */
} qny_options_t;

/* Fills in the defaults named above (multicast on). */
QNY_EXPORT void qny_options_init(qny_options_t *options);

/* Joins the network. Null options: the defaults. QNY_ERROR_STARTED when it is joined already; QNY_ERROR_DEVICE,
 * QNY_ERROR_PORT_IN_USE (discovery port or listen_port), QNY_ERROR_ARGUMENT (a peers text that does not parse),
 * QNY_ERROR_SECURITY, QNY_ERROR_SYSTEM. After a failure nothing is started. */
QNY_EXPORT qny_result_t qny_start(const qny_options_t *options);
/* Leaves the network, telling every peer so; calls and publications made before are sent first, as far as the others take
 * them within half a second. Observers of agents hear of the departure of each. When it returns (to another thread than the
 * callback thread) they have heard of it, and nothing that came from the network is called any more. Nothing when not
 * started. A process that ends without it does the same at exit, but for the callbacks: none begins any more. A forked child
 * begins anew, not started. */
QNY_EXPORT void qny_stop(void);
QNY_EXPORT bool qny_is_started(void);
/* Whether the network is started, and secured. */
QNY_EXPORT bool qny_is_secured(void);
/* "tcp://127.0.0.1:41235": where this peer is reached, or null when not started. */
QNY_EXPORT char *qny_endpoint(void);
/* The name under which this machine is shown (see host_name). Also before a start. */
QNY_EXPORT char *qny_host_name(void);

typedef struct qny_device {
    const char *name;     /* "lo" */
    const char *address;  /* "127.0.0.1" */
    bool loopback;
} qny_device_t;
/* The network devices that could be joined now: an array of *count in one piece of memory (free it with qny_free), null if none. */
QNY_EXPORT qny_device_t *qny_devices(size_t *count);

/* What others are shown of this process: its arguments after the program name. The value of each option in
 * masked_options (a null-terminated array such as {"--password", "-a", NULL}; "--password x", "--password=x", "-a x" and
 * "-ax" are all recognised) is replaced by "********". The program is shown by its canonical path.
 * Not while started. */
QNY_EXPORT qny_result_t qny_set_command_line(int argc, const char *const *argv, const char *const *masked_options);

typedef struct qny_statistics_values {
    uint64_t publications_sent;      /* once for each peer that it went to */
    uint64_t publications_received;
    uint64_t publications_dropped;   /* here, because a peer's queue was full */
    uint64_t publications_lost;      /* seen as gaps in what was received */
    uint64_t calls_sent;
    uint64_t calls_received;
    uint64_t messages_refused;       /* malformed or beyond a bound, from others */
    uint64_t queued_bytes;           /* waiting for peers now */
    uint64_t connections_refused;    /* to this peer, of those who are none of this network or whose key is not let in */
} qny_statistics_t;
QNY_EXPORT void qny_statistics(qny_statistics_t *statistics);

/* ---- security ----------------------------------------------------------------------------------------------------- */

/* A certificate is a pair of CURVE keys with a name and other metadata, in two files: NAME.cert for everybody whose agents are
 * to meet its owner's, NAME.cert_secret for the owner alone. docs/security.md tells how they are used. */
typedef struct qny_certificate {
    const char *path;             /* of its file */
    const char *name;             /* what the metadata call it, else what its file is called */
    const char *public_key;       /* Z85: 40 characters, which may be any printable ones but quotation marks and the like */
    bool is_private;              /* the file holds the secret half, which is never handed out */
    const char *const *metadata;  /* name, value, name, value, … as the file has them, then null */
} qny_certificate_t;

/* Makes keys and writes both files into the directory: the private one readable by its owner alone, each whole or not at all, and
 * never over one that is there (QNY_ERROR_EXISTS). metadata, which may be null: name, value, name, value, …, null; the name of the
 * certificate is added. *certificate, which may be null, receives the private one; free it with qny_free. QNY_ERROR_ARGUMENT (a name or
 * metadata that cannot be written), QNY_ERROR_SYSTEM. */
QNY_EXPORT qny_result_t qny_certificate_make(const char *directory, const char *name, const char *const *metadata,
                                             qny_certificate_t **certificate);
/* Reads a public or a private certificate and checks all of it. QNY_ERROR_SECURITY, with the file and the line, when it is refused: keys
 * that are malformed, all zeros or there twice, a secret that does not match its public half, a private file that others may
 * read, or that anybody may exchange from a folder above. Free it with qny_free. */
QNY_EXPORT qny_result_t qny_certificate_read(const char *path, qny_certificate_t **certificate);
/* Inside a callback of a service or of stop requests, on the thread that it runs on: the certificate whose owner the call came
 * from, as the directory of public certificates had it when the call arrived. Nobody can call by another's. Null anywhere else, and on a network without
 * security. Valid until the callback returns. */
QNY_EXPORT const qny_certificate_t *qny_caller_certificate(void);
/* Whether the owner of that public key is let in now, or it is this process's own: who keeps a call for later asks this
 * before it is carried out, as the certificate may have been taken away meanwhile. Always on a network without
 * security; else never for null, nor when the network is not started. */
QNY_EXPORT bool qny_is_let_in(const char* public_key);

/* A directory of public certificates, watched: of those, say, who may command. A file that is refused is logged with its line, and does not
 * count; changes count within a second. Null, and qny_last_error(), when the directory cannot be read, or anybody may write
 * into it or into a folder above it (but one like /tmp, in which nobody moves what is another's). */
typedef struct qny_certificates qny_certificates_t;
QNY_EXPORT qny_certificates_t *qny_certificates_open(const char *directory);
/* Whether the key is among them now. False for null and "". */
QNY_EXPORT bool qny_certificates_hold(qny_certificates_t *certificates, const char *public_key);
/* How many there are now. */
QNY_EXPORT size_t qny_certificates_count(qny_certificates_t *certificates);
/* Null is allowed. */
QNY_EXPORT void qny_certificates_close(qny_certificates_t *certificates);
/* What such a directory is worth now, neither watched nor logged: before this returns, the function gets each certificate that counts (problem
 * is null), by the names of the files, and then a sentence, with file and line where there is one, for each thing that does not (certificate
 * is null): a file that is refused, a key that stands in two. Both are valid during the call. QNY_ERROR_SECURITY, and nothing is told, where
 * qny_certificates_open() would give null. */
typedef void (*qny_certificate_finding_fn)(const qny_certificate_t *certificate, const char *problem, void *user_data);
QNY_EXPORT qny_result_t qny_certificates_check(const char *directory, qny_certificate_finding_fn function, void *user_data);
/* Of the folders above a path, as it is given and as its links lead, one into which anybody may write, and so put something else in its
 * place; null when there is none. Those like /tmp, in which nobody moves what is another's, do not count. Free it with qny_free. */
QNY_EXPORT char *qny_open_folder_above(const char *path);

/* ---- values ------------------------------------------------------------------------------------------------------- */

typedef enum qny_value_type {
    QNY_UNKNOWN_T = 0,
    QNY_IMPULSE_T,   /* no value */
    QNY_BOOL_T,      /* bool, 1 byte */
    QNY_INTEGER_T,   /* int32_t */
    QNY_DOUBLE_T,    /* double */
    QNY_STRING_T,    /* const char *, UTF-8; `value` points at the first character, size counts the final zero byte */
    QNY_DATA_T       /* bytes; `value` points at the first, size is their count */
} qny_value_type_t;
/* `value`: a pointer to a bool, int32_t or double, or to the first character or byte; null with an impulse. */

/* "impulse", "bool", "integer", "double", "string", "data"; "unknown" otherwise. */
QNY_EXPORT const char *qny_value_type_text(qny_value_type_t type);
QNY_EXPORT qny_value_type_t qny_value_type_from_text(const char *text);

typedef enum qny_io_kind { QNY_INPUT_T = 1, QNY_OUTPUT_T } qny_io_kind_t;

/* ---- agents of this process --------------------------------------------------------------------------------------- */

typedef struct qny_agent qny_agent_t;

/* The agent that the plain functions below act on. It exists from the first call on, is on the network whenever the
 * process is, and is never destroyed. Its name is "unnamed" until qny_name_set(). */
QNY_EXPORT qny_agent_t *qny_default_agent(void);

typedef struct qny_agent_options {
    const char *family;  /* class family uuid, or null */
    bool stand_in;       /* publishes on behalf of a recorded agent: shown so, without command line, not stoppable */
} qny_agent_options_t;
/* A further agent of this process. It is shown to others from qny_agent_activate() on, so that its definition can be
 * complete before. Null (and qny_last_error()) for a bad name. Options may be null. */
QNY_EXPORT qny_agent_t *qny_agent_new(const char *name, const qny_agent_options_t *options);
QNY_EXPORT qny_result_t qny_agent_activate(qny_agent_t *agent);
/* Takes the agent off the network. It can be activated again. Not for the default agent (QNY_ERROR_ARGUMENT). */
QNY_EXPORT qny_result_t qny_agent_deactivate(qny_agent_t *agent);
/* Deactivates and frees. Not for the default agent (QNY_ERROR_ARGUMENT). A handle that was destroyed is answered with
 * QNY_ERROR_ARGUMENT by every function. */
QNY_EXPORT qny_result_t qny_agent_destroy(qny_agent_t *agent);

/* Uuid without braces, made afresh with the agent. */
QNY_EXPORT char *qny_agent_uuid(qny_agent_t *agent);
QNY_EXPORT char *qny_agent_name(qny_agent_t *agent);
/* Others see a renamed agent leave and a new name come, under the same uuid. */
QNY_EXPORT qny_result_t qny_agent_name_set(qny_agent_t *agent, const char *name);
QNY_EXPORT qny_result_t qny_agent_family_set(qny_agent_t *agent, const char *family);

/* The definition as JSON:
 * {"family":"…","inputs":[{"name":"…","type":"double"}],"outputs":[…],"services":[{"name":"…","arguments":[{"name":"…","type":"string"}]}]}
 * Loading adds what is missing (services without a callback) and leaves alone what is there. */
QNY_EXPORT char *qny_agent_definition(qny_agent_t *agent);
QNY_EXPORT qny_result_t qny_agent_definition_load(qny_agent_t *agent, const char *json);

/* ---- outputs ------------------------------------------------------------------------------------------------------ */

/* A new output with an optional first value (null: none yet; `size` counts as above). Creating does not publish. An agent has at
 * most 4096 inputs, outputs and services together (QNY_ERROR_TOO_LARGE), and a removed output that comes again goes on counting.
 * QNY_ERROR_EXISTS when it exists with another type; the same type again is success and changes nothing. */
QNY_EXPORT qny_result_t qny_agent_output_create(qny_agent_t *agent, const char *name, qny_value_type_t type, const void *value, size_t size);
QNY_EXPORT qny_result_t qny_agent_output_remove(qny_agent_t *agent, const char *name);
/* Publishes a value to every peer that maps or monitors the output. A value of another type is converted into the output's own as
 * mappings do it, or refused (QNY_ERROR_TYPE). While not started it succeeds, too: it sets the value and counts.
 * time_us: microseconds since 1970 UTC to send along, 0: now. sequence (may be null) receives the publication's number:
 * each output of each agent counts from 1, and a publication counts whether or not anybody listens. */
QNY_EXPORT qny_result_t qny_agent_output_publish(qny_agent_t *agent, const char *name, qny_value_type_t type, const void *value, size_t size,
                                                 int64_t time_us, uint64_t *sequence);
/* Sets the value that new mappings receive, without publishing it. */
QNY_EXPORT qny_result_t qny_agent_output_preset(qny_agent_t *agent, const char *name, qny_value_type_t type, const void *value, size_t size);

QNY_EXPORT qny_result_t qny_output_create(const char *name, qny_value_type_t type, const void *value, size_t size);
QNY_EXPORT qny_result_t qny_output_remove(const char *name);
QNY_EXPORT qny_result_t qny_output_publish(const char *name, qny_value_type_t type, const void *value, size_t size, int64_t time_us, uint64_t *sequence);
QNY_EXPORT qny_result_t qny_output_set_impulse(const char *name);
QNY_EXPORT qny_result_t qny_output_set_bool(const char *name, bool value);
QNY_EXPORT qny_result_t qny_output_set_int(const char *name, int32_t value);
QNY_EXPORT qny_result_t qny_output_set_double(const char *name, double value);
QNY_EXPORT qny_result_t qny_output_set_string(const char *name, const char *value);
QNY_EXPORT qny_result_t qny_output_set_data(const char *name, const void *data, size_t size);

/* One publication as it arrived. */
typedef struct qny_publication {
    const char *agent_uuid;
    const char *agent_name;
    const char *output;
    qny_value_type_t type;
    const void *value;
    size_t size;
    int64_t time_us;      /* the sender's stamp, microseconds since 1970 UTC */
    int64_t received_us;  /* when it reached this process, on this machine's clock, microseconds since 1970 UTC */
    uint64_t sequence;    /* number of this publication of this output */
    uint64_t lost;        /* how many of this output were lost right before this one; with last_value: how many were published since
                             the last one that was received, the one with this value among them */
    bool last_value;      /* not a new publication: the value that the output had when the mapping or monitor came alive */
    bool stand_in;        /* the sender is a stand-in of a replay */
} qny_publication_t;
typedef void (*qny_publication_fn)(const qny_publication_t *publication, void *user_data);

/* ---- inputs ------------------------------------------------------------------------------------------------------- */

/* A new input with an optional first value (null and 0: none). As with outputs, creating again with the same type is success. */
QNY_EXPORT qny_result_t qny_agent_input_create(qny_agent_t *agent, const char *name, qny_value_type_t type, const void *value, size_t size);
/* Removes the input and its observers; its mappings stay, and come alive again with a new input of that name. */
QNY_EXPORT qny_result_t qny_agent_input_remove(qny_agent_t *agent, const char *name);

/* Called for each value written to the input. io_kind is QNY_INPUT_T. */
typedef void (*qny_io_fn)(qny_io_kind_t io_kind, const char *name, qny_value_type_t type, void *value, size_t size, void *user_data);
/* Several observers of one input are called in the order in which they were added. Removed with the input. */
QNY_EXPORT qny_result_t qny_agent_observe_input(qny_agent_t *agent, const char *name, qny_io_fn callback, void *user_data);
/* The same with everything that is known of each publication. The value is as sent, before any conversion. */
QNY_EXPORT qny_result_t qny_agent_observe_input_publications(qny_agent_t *agent, const char *name, qny_publication_fn callback, void *user_data);
/* How many publications for this input were lost so far (0 for an unknown input). */
QNY_EXPORT uint64_t qny_agent_input_lost(qny_agent_t *agent, const char *name);

QNY_EXPORT qny_result_t qny_input_create(const char *name, qny_value_type_t type, const void *value, size_t size);
QNY_EXPORT qny_result_t qny_input_remove(const char *name);
QNY_EXPORT bool qny_input_exists(const char *name);
QNY_EXPORT qny_result_t qny_observe_input(const char *name, qny_io_fn callback, void *user_data);
QNY_EXPORT qny_result_t qny_observe_input_publications(const char *name, qny_publication_fn callback, void *user_data);
QNY_EXPORT uint64_t qny_input_lost(const char *name);
/* The input's present value: false, 0, 0.0 or null when it has none or is of another type. */
QNY_EXPORT bool qny_input_bool(const char *name);
QNY_EXPORT int32_t qny_input_int(const char *name);
QNY_EXPORT double qny_input_double(const char *name);
QNY_EXPORT char *qny_input_string(const char *name);

/* ---- mappings ----------------------------------------------------------------------------------------------------- */

/* Feeds our input from the outputs of that name of every agent of that name, now and whenever one appears. A mapping may be
 * added before its input, its agent or its output exists. Adding it twice is success and changes nothing. bool, integer,
 * double and string convert into one another where the value allows it, anything into an impulse; what does not convert is
 * dropped with a warning. A mapping that comes alive receives the output's last value, if it has one. */
QNY_EXPORT qny_result_t qny_agent_mapping_add(qny_agent_t *agent, const char *from_our_input, const char *to_agent, const char *with_output);
QNY_EXPORT qny_result_t qny_agent_mapping_remove_with_name(qny_agent_t *agent, const char *from_our_input, const char *to_agent, const char *with_output);
QNY_EXPORT qny_result_t qny_mapping_add(const char *from_our_input, const char *to_agent, const char *with_output);
QNY_EXPORT qny_result_t qny_mapping_remove_with_name(const char *from_our_input, const char *to_agent, const char *with_output);
/* Whether some agent of that name with that output feeds the input now. */
QNY_EXPORT bool qny_mapping_is_live(const char *from_our_input, const char *to_agent, const char *with_output);

/* Receives every publication of every output of one agent of another peer, outputs that it adds later included, until the
 * monitor is removed or the agent leaves (which removes it). No input is needed. The values that the outputs have now come
 * first, marked last_value. One monitor an agent. QNY_ERROR_UNKNOWN_AGENT, QNY_ERROR_EXISTS.
 * Of an agent that fell silent, comes back and is monitored again, what it published meanwhile counts as lost; unless its
 * monitor was removed while it was away. */
QNY_EXPORT qny_result_t qny_monitor_add(const char *agent_uuid, qny_publication_fn callback, void *user_data);
/* QNY_ERROR_UNKNOWN when there is none, and for an agent that is away. */
QNY_EXPORT qny_result_t qny_monitor_remove(const char *agent_uuid);

/* ---- services ----------------------------------------------------------------------------------------------------- */

typedef struct qny_service_arg {
    char *name;             /* as the callee declares it where it does, else "" */
    qny_value_type_t type;
    union {
        bool b;
        int32_t i;
        double d;
        char *c;            /* QNY_STRING_T */
        void *data;         /* QNY_DATA_T */
    };
    size_t size;            /* of a string: with its final zero byte */
    struct qny_service_arg *next;
} qny_service_arg_t;

/* Appends to a list whose head starts as null. QNY_ERROR_UTF8 for a string that is not UTF-8: nothing is appended. */
QNY_EXPORT qny_result_t qny_service_args_add_bool(qny_service_arg_t **list, bool value);
QNY_EXPORT qny_result_t qny_service_args_add_int(qny_service_arg_t **list, int32_t value);
QNY_EXPORT qny_result_t qny_service_args_add_double(qny_service_arg_t **list, double value);
QNY_EXPORT qny_result_t qny_service_args_add_string(qny_service_arg_t **list, const char *value);
QNY_EXPORT qny_result_t qny_service_args_add_data(qny_service_arg_t **list, const void *data, size_t size);
/* Frees a list that was not handed to a call, and nulls the head. */
QNY_EXPORT void qny_service_args_destroy(qny_service_arg_t **list);
QNY_EXPORT size_t qny_service_args_count(const qny_service_arg_t *list);

/* token is null when the caller sent none. sender_agent_uuid is the agent that called: an answer goes there. The
 * arguments last until the function returns; texts and data lie where the message lies, at any address: what is read
 * out of data as numbers is copied first. */
typedef void (*qny_service_fn)(const char *sender_agent_name, const char *sender_agent_uuid, const char *service_name,
                               qny_service_arg_t *first_argument, size_t args_count, const char *token, void *user_data);

/* Declares a service, or replaces callback and user data of a declared one and empties its list of arguments. */
QNY_EXPORT qny_result_t qny_agent_service_init(qny_agent_t *agent, const char *name, qny_service_fn callback, void *user_data);
/* Declares the next argument: information for callers. A call is delivered as it came. */
QNY_EXPORT qny_result_t qny_agent_service_arg_add(qny_agent_t *agent, const char *service, const char *arg_name, qny_value_type_t type);
QNY_EXPORT qny_result_t qny_agent_service_remove(qny_agent_t *agent, const char *name);
/* Calls a service of the agent with this uuid, or else of every agent with this name (but never of the calling agent
 * itself by name; a text in the form of a uuid is never taken for a name). The list, which may be null or point to a
 * null head, is taken over, freed and nulled, whatever the result. Returns when the call is queued:
 * QNY_ERROR_UNKNOWN_AGENT, QNY_ERROR_TOO_LARGE (beyond our bound, beyond that of one of the called, or more than 1024
 * arguments: then nobody is called), QNY_ERROR_UTF8, QNY_ERROR_NOT_STARTED (the calling agent not active, too). A call
 * is never dropped for want of queue space while its peer lives. A call for a service that the callee does not declare
 * is logged by the callee. */
QNY_EXPORT qny_result_t qny_agent_service_call(qny_agent_t *from, const char *agent_name_or_uuid, const char *service,
                                               qny_service_arg_t **list, const char *token);

QNY_EXPORT qny_result_t qny_service_init(const char *name, qny_service_fn callback, void *user_data);
QNY_EXPORT qny_result_t qny_service_arg_add(const char *service, const char *arg_name, qny_value_type_t type);
QNY_EXPORT qny_result_t qny_service_remove(const char *name);
QNY_EXPORT bool qny_service_exists(const char *name);
QNY_EXPORT qny_result_t qny_service_call(const char *agent_name_or_uuid, const char *service, qny_service_arg_t **list, const char *token);

/* ---- other agents ------------------------------------------------------------------------------------------------- */

typedef struct qny_agent_info {
    const char *uuid;
    const char *name;
    const char *family;              /* "" when it has none */
    const char *peer_uuid;           /* the process that carries it */
    const char *host_name;
    const char *address;             /* of its peer, "127.0.0.1" */
    int64_t process_id;
    const char *executable;          /* canonical path on its machine; "" for a stand-in */
    const char *const *arguments;    /* after the program name, masked values as "********"; none for a stand-in */
    size_t arguments_count;
    const char *definition;          /* JSON as of qny_agent_definition() */
    bool stand_in;
    bool stoppable;                  /* it observes stop requests */
    const char *public_key;          /* on a secured network: by which its peer proved who it is (Z85); else "" */
    const char *certificate_name;    /* and the name of that certificate when the agent entered; else "" */
    bool fell_silent;                /* with QNY_AGENT_EXITED: it did not take its leave. Its process died or cannot be
                                        reached, and may come back, its agents under the same uuids */
} qny_agent_info_t;

typedef enum qny_agent_event {
    QNY_AGENT_ENTERED = 1,  /* each side knows the other: a call made now can be answered */
    QNY_AGENT_UPDATED,      /* its definition changed */
    QNY_AGENT_EXITED        /* it left, or its process died or fell silent for longer than QNY_PRESENCE_BOUND_MS */
} qny_agent_event_t;

/* The longest time, in milliseconds, after which the end of a peer is seen by every other, however it ended, on
 * machines that let each process have its turn. */
#define QNY_PRESENCE_BOUND_MS 5000

typedef void (*qny_agent_event_fn)(qny_agent_event_t event, const qny_agent_info_t *agent, void *user_data);
/* Agents of other processes only. The agents that are there already are announced first. */
QNY_EXPORT qny_result_t qny_observe_agents(qny_agent_event_fn callback, void *user_data);
QNY_EXPORT qny_result_t qny_unobserve_agents(qny_agent_event_fn callback, void *user_data);
/* Whether an agent of another process with this uuid or name is there now. */
QNY_EXPORT bool qny_agent_is_present(const char *agent_name_or_uuid);
/* Whether the process of this agent of another process said something within the last 1.5 s, as each does twice a
 * second while it runs and can be reached (within 2.5 s where there are hundreds: to so many it is said less often).
 * False for an unknown agent, and for a moment after this process itself stood still. */
QNY_EXPORT bool qny_agent_is_heard(const char *agent_uuid);
/* How many milliseconds ago the process of this agent of another process said something for the last time; -1 for an
 * unknown agent. What it sent before that has come. */
QNY_EXPORT int64_t qny_agent_silence_ms(const char *agent_uuid);

/* Asks an agent of another process to stop: its process's stop callback decides how. QNY_ERROR_UNKNOWN_AGENT; QNY_ERROR_ARGUMENT for one
 * that is not stoppable. */
QNY_EXPORT qny_result_t qny_request_stop(const char *agent_uuid);
typedef void (*qny_stop_fn)(const char *requested_by_agent_name, const char *requested_by_agent_uuid, void *user_data);
/* Null withdraws the callback; without one this process's agents are shown as not stoppable. */
QNY_EXPORT qny_result_t qny_observe_stop_requests(qny_stop_fn callback, void *user_data);

/* The default agent's identity. */
QNY_EXPORT qny_result_t qny_name_set(const char *name);
QNY_EXPORT char *qny_name(void);
QNY_EXPORT char *qny_uuid(void);
QNY_EXPORT qny_result_t qny_family_set(const char *family);

/* Whether a text may name an agent (true) or an input, output or service (false). */
QNY_EXPORT bool qny_name_is_valid(const char *name, bool of_agent);

#ifdef __cplusplus
}
#endif

#endif
