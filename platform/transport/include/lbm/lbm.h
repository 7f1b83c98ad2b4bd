/* The transport's C client interface: contexts, sources, receivers, event queues, messages and responses of a
 * publish/subscribe transport.
 *
 * Results: functions that return int give LBM_OK (0) or LBM_FAILURE (-1); after a failure lbm_errnum() and lbm_errmsg()
 * tell the calling thread why. They are set by failures only and kept until the thread's next one.
 *
 * Threads: every function may be called from any thread, callbacks included. One callback at a time runs per context,
 * on the context's own thread, or, for a receiver or request with an event queue, on the thread that dispatches the
 * queue.
 *
 * Handles: are owned by the caller who created them and are gone when their delete function returns. No callback of a
 * receiver or request begins or goes on after its deletion has returned, save the one that made the call. Handles may
 * be deleted in any order: what a deleted context or event queue served is stopped, and its receivers, sources and
 * requests may still be deleted afterwards.
 *
 * Exceptions: one that leaves a callback ends the process through std::terminate, after one line on standard error:
 *
 *     lbm: exception left a callback: topic="<topic>" sequence_number=<number> what="<text>"
 *
 * Control characters, quotes and backslashes in the texts stand as \xNN. While a handler installed with
 * std::set_terminate runs, the exception is current and the message is still held.
 *
 * Fork: a child that was forked while its parent had contexts cannot use the transport: every call that would need it,
 * deletion included, fails with LBM_EOP, and what the parent's handles point at is never released. A program started by
 * exec can.
 *
 * Stack: a context's thread has a stack of 8 MiB, whatever the process's limit: callbacks may recurse.
 */
#ifndef LBM_LBM_H
#define LBM_LBM_H

/* NOLINTBEGIN(modernize-use-using,modernize-deprecated-headers): this header is C */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results and error numbers -------------------------------------------------------------------------------- */

#define LBM_OK 0
#define LBM_FAILURE (-1)

#define LBM_EINVAL 1      /* an argument, option, name or pattern is not acceptable */
#define LBM_EWOULDBLOCK 2 /* a non-blocking operation would have had to wait */
#define LBM_ENOMEM 3
#define LBM_EOP 4 /* the operation is not possible on this object or in its state */
#define LBM_EOS 5 /* the operating system or the engine below refused */
#define LBM_ETIMEDOUT 6
#define LBM_ENO_CONFIG 7 /* the configuration cannot be read or lacks what was asked for */

/* Text and number of the calling thread's last failure. The text is valid until the thread's next failure; "" and 0
 * when there was none. */
const char* lbm_errmsg(void);
int lbm_errnum(void);

/* ---- Objects -------------------------------------------------------------------------------------------------- */

typedef struct lbm_context lbm_context_t;
typedef struct lbm_context_attr lbm_context_attr_t;
typedef struct lbm_topic lbm_topic_t;
typedef struct lbm_src lbm_src_t;
typedef struct lbm_src_topic_attr lbm_src_topic_attr_t;
typedef struct lbm_rcv lbm_rcv_t;
typedef struct lbm_rcv_topic_attr lbm_rcv_topic_attr_t;
typedef struct lbm_wildcard_rcv lbm_wildcard_rcv_t;
typedef struct lbm_wildcard_rcv_attr lbm_wildcard_rcv_attr_t;
typedef struct lbm_event_queue lbm_event_queue_t;
typedef struct lbm_event_queue_attr lbm_event_queue_attr_t;
typedef struct lbm_request lbm_request_t;
typedef struct lbm_response lbm_response_t;

/* ---- Messages ------------------------------------------------------------------------------------------------- */

#define LBM_MSG_DATA 0
#define LBM_MSG_EOS 1
#define LBM_MSG_REQUEST 2
#define LBM_MSG_RESPONSE 3
#define LBM_MSG_UNRECOVERABLE_LOSS 4
#define LBM_MSG_UNRECOVERABLE_LOSS_BURST 5
#define LBM_MSG_NO_SOURCE_NOTIFICATION 6
#define LBM_MSG_BOS 20

/* A received message or transport event. It is reference-counted: the transport's own reference ends when the callback
 * returns, so keep it with lbm_msg_retain and give it back with lbm_msg_delete. Everything it points at lives as long.
 */
typedef struct lbm_msg {
    int type;                 /* LBM_MSG_… */
    int flags;                /* 0 in this version */
    const char* data;         /* payload, not NUL-terminated; NULL when len is 0 */
    size_t len;               /* bytes */
    const char* topic_name;   /* the concrete topic, NUL-terminated; also for wildcard receivers, save that a
                               * no-source notification, which has no source text, has their pattern */
    const char* source;       /* which source of which context, NUL-terminated; one text per source and run:
                               * "LBMDDS:<IPv4 address>:<process id>:<context, 16 hex digits>:<source number>[<topic>]" */
    uint32_t sequence_number; /* per source, from 0, wraps; of events: the number they stand before or are about,
                               * of a BOS 0 while that number is not known */
    lbm_response_t* response; /* of a request: where to answer; else NULL */
} lbm_msg_t;

int lbm_msg_retain(lbm_msg_t* msg);
int lbm_msg_delete(lbm_msg_t* msg);

/* ---- Configuration -------------------------------------------------------------------------------------------- */

/* Reads the XML configuration for the attribute functions that follow, in place of the file that the environment
 * variables LBM_XML_CONFIG_FILENAME and LBM_XML_CONFIG_APPNAME name. `application_name` NULL or "" selects an
 * application element without a name. A failure leaves the configuration in force unchanged. */
int lbm_config_xml_file(const char* path, const char* application_name);
int lbm_config_xml_string(const char* xml, const char* application_name);

/* ---- Contexts ------------------------------------------------------------------------------------------------- */

typedef int (*lbm_context_event_cb_proc)(lbm_context_t* ctx, int event, const void* event_data, void* clientd);

int lbm_context_attr_create(lbm_context_attr_t** attr);
/* Attributes as configured for the context of that name in the XML configuration; built-in defaults with the option
 * "context_name" set to the name when there is no configuration. */
int lbm_context_attr_create_from_xml(lbm_context_attr_t** attr, const char* context_name);
int lbm_context_attr_dup(lbm_context_attr_t** attr, const lbm_context_attr_t* original);
int lbm_context_attr_delete(lbm_context_attr_t* attr);
int lbm_context_attr_setopt(lbm_context_attr_t* attr, const char* option, const void* value, size_t length);
int lbm_context_attr_getopt(const lbm_context_attr_t* attr, const char* option, void* value, size_t* length);
int lbm_context_attr_str_setopt(lbm_context_attr_t* attr, const char* option, const char* value);
/* All …_str_getopt: `length` gives the buffer's size in bytes and receives the text's length without the NUL; a buffer
 * too small for text and NUL is a failure that leaves the buffer alone. */
int lbm_context_attr_str_getopt(const lbm_context_attr_t* attr, const char* option, char* value, size_t* length);

/* `attr` NULL: built-in defaults. `event_cb` may be NULL. */
int lbm_context_create(lbm_context_t** ctx, const lbm_context_attr_t* attr, lbm_context_event_cb_proc event_cb,
                       void* clientd);
/* Waits for receivers and requesters to acknowledge what was sent, at most for `close_wait_ms`. */
int lbm_context_delete(lbm_context_t* ctx);
int lbm_context_str_getopt(lbm_context_t* ctx, const char* option, char* value, size_t* length);
/* The context serves itself on its own thread; these exist for programs written for sequential operation:
 * process_events waits for at most `timeout_ms`, until unblocked or until the context is deleted, and dispatches
 * nothing. */
int lbm_context_process_events(lbm_context_t* ctx, unsigned long timeout_ms);
int lbm_context_unblock(lbm_context_t* ctx);

/* Counters since the context was made. A reading is not of one moment. */
typedef struct lbm_context_stats {
    uint64_t messages_sent; /* data and requests that were accepted */
    uint64_t bytes_sent;    /* their payloads */
    uint64_t frames_sent;   /* packets that they travelled in */
    uint64_t sends_refused; /* sends that failed with LBM_EWOULDBLOCK or LBM_ETIMEDOUT; nothing of them was lost */

    uint64_t messages_received;   /* that some receiver wanted, each once */
    uint64_t bytes_received;      /* their payloads */
    uint64_t messages_lost;       /* that some receiver wanted and was, or will be, told of as lost, each once */
    uint64_t messages_overflowed; /* those of them, and of the received, that found the receive queue full */
    uint64_t messages_unwanted;   /* that came along with others and that no receiver wanted */
    uint64_t copies_dropped;      /* frames and messages that came again */
    uint64_t packets_refused;     /* packets and messages that made no sense, or were not their writer's to send */
    uint64_t answers_received;    /* to requests */
    uint64_t answers_dropped;     /* that nobody waited for, that made no sense or that found the receive queue full */

    uint64_t queue_messages_max; /* the most that waited for callbacks at once, events included */
    uint64_t queue_bytes_max;    /* the same in bytes, as "receive_queue_bytes_max" counts them */
    uint64_t sources;            /* that are known now, wanted or not */
} lbm_context_stats_t;

/* `ctx` NULL: the sum over all contexts that the process has or had; of the high-water marks the highest. Messages that
 * an event queue loses are in that queue's counters. */
int lbm_context_retrieve_stats(lbm_context_t* ctx, lbm_context_stats_t* stats);

/* ---- Event queues --------------------------------------------------------------------------------------------- */

typedef int (*lbm_event_queue_monitor_proc)(lbm_event_queue_t* evq, int event, size_t size, unsigned long delay_us,
                                            void* clientd);

#define LBM_EVENT_QUEUE_BLOCK 0xFFFFFFFFUL /* wait without limit, as does any greater value */
#define LBM_EVENT_QUEUE_POLL 0UL           /* dispatch what is there */

int lbm_event_queue_attr_create(lbm_event_queue_attr_t** attr);
int lbm_event_queue_attr_dup(lbm_event_queue_attr_t** attr, const lbm_event_queue_attr_t* original);
int lbm_event_queue_attr_delete(lbm_event_queue_attr_t* attr);
int lbm_event_queue_attr_setopt(lbm_event_queue_attr_t* attr, const char* option, const void* value, size_t length);
int lbm_event_queue_attr_getopt(const lbm_event_queue_attr_t* attr, const char* option, void* value, size_t* length);
int lbm_event_queue_attr_str_setopt(lbm_event_queue_attr_t* attr, const char* option, const char* value);
int lbm_event_queue_attr_str_getopt(const lbm_event_queue_attr_t* attr, const char* option, char* value,
                                    size_t* length);

/* Options that `attr` does not set are as the configuration says for the first context on which the queue is used. */
int lbm_event_queue_create(lbm_event_queue_t** evq, lbm_event_queue_monitor_proc monitor, void* clientd,
                           const lbm_event_queue_attr_t* attr);
/* No callback is dispatched after it; what waits is dropped; dispatching threads return. */
int lbm_event_queue_shutdown(lbm_event_queue_t* evq);
int lbm_event_queue_delete(lbm_event_queue_t* evq);
/* Runs callbacks on the calling thread for `timeout_ms` (or LBM_EVENT_QUEUE_…) or until unblocked.
 * Returns how many ran, or LBM_FAILURE. */
int lbm_event_dispatch(lbm_event_queue_t* evq, unsigned long timeout_ms);
/* Makes one running dispatch return, or the next one if none runs. */
int lbm_event_dispatch_unblock(lbm_event_queue_t* evq);

typedef struct lbm_event_queue_stats {
    uint64_t messages;            /* that wait now, events included */
    uint64_t messages_max;        /* the most that waited at once */
    uint64_t bytes_max;           /* the same in bytes, as "queue_bytes_max" counts them */
    uint64_t messages_overflowed; /* data that found the queue full and became a loss, once for each receiver */
    uint64_t answers_dropped;     /* that found the queue full */
} lbm_event_queue_stats_t;

int lbm_event_queue_retrieve_stats(lbm_event_queue_t* evq, lbm_event_queue_stats_t* stats);

/* ---- Receivers ------------------------------------------------------------------------------------------------ */

/* `rcv` is NULL for messages of a wildcard receiver. The result is not used. */
typedef int (*lbm_rcv_cb_proc)(lbm_rcv_t* rcv, lbm_msg_t* msg, void* clientd);
typedef lbm_rcv_cb_proc lbm_wildcard_rcv_cb_proc;

int lbm_rcv_topic_attr_create(lbm_rcv_topic_attr_t** attr);
int lbm_rcv_topic_attr_dup(lbm_rcv_topic_attr_t** attr, const lbm_rcv_topic_attr_t* original);
int lbm_rcv_topic_attr_delete(lbm_rcv_topic_attr_t* attr);
int lbm_rcv_topic_attr_setopt(lbm_rcv_topic_attr_t* attr, const char* option, const void* value, size_t length);
int lbm_rcv_topic_attr_getopt(const lbm_rcv_topic_attr_t* attr, const char* option, void* value, size_t* length);
int lbm_rcv_topic_attr_str_setopt(lbm_rcv_topic_attr_t* attr, const char* option, const char* value);
int lbm_rcv_topic_attr_str_getopt(const lbm_rcv_topic_attr_t* attr, const char* option, char* value, size_t* length);

/* The topic is the transport's and lives as long as the context. `attr` NULL: defaults. */
int lbm_rcv_topic_lookup(lbm_topic_t** topic, lbm_context_t* ctx, const char* name, const lbm_rcv_topic_attr_t* attr);
/* `evq` NULL: callbacks run on the context's thread. Events may arrive before the call has returned. */
int lbm_rcv_create(lbm_rcv_t** rcv, lbm_context_t* ctx, lbm_topic_t* topic, lbm_rcv_cb_proc proc, void* clientd,
                   lbm_event_queue_t* evq);
int lbm_rcv_delete(lbm_rcv_t* rcv);
int lbm_rcv_str_setopt(lbm_rcv_t* rcv, const char* option, const char* value);
int lbm_rcv_str_getopt(lbm_rcv_t* rcv, const char* option, char* value, size_t* length);

int lbm_wildcard_rcv_attr_create(lbm_wildcard_rcv_attr_t** attr);
int lbm_wildcard_rcv_attr_dup(lbm_wildcard_rcv_attr_t** attr, const lbm_wildcard_rcv_attr_t* original);
int lbm_wildcard_rcv_attr_delete(lbm_wildcard_rcv_attr_t* attr);
int lbm_wildcard_rcv_attr_setopt(lbm_wildcard_rcv_attr_t* attr, const char* option, const void* value, size_t length);
int lbm_wildcard_rcv_attr_getopt(const lbm_wildcard_rcv_attr_t* attr, const char* option, void* value, size_t* length);
int lbm_wildcard_rcv_attr_str_setopt(lbm_wildcard_rcv_attr_t* attr, const char* option, const char* value);
int lbm_wildcard_rcv_attr_str_getopt(const lbm_wildcard_rcv_attr_t* attr, const char* option, char* value,
                                     size_t* length);

/* `pattern` is a PCRE2 regular expression that must match the whole topic. Either attribute may be NULL: defaults. */
int lbm_wildcard_rcv_create(lbm_wildcard_rcv_t** rcv, lbm_context_t* ctx, const char* pattern,
                            const lbm_rcv_topic_attr_t* topic_attr, const lbm_wildcard_rcv_attr_t* wildcard_attr,
                            lbm_wildcard_rcv_cb_proc proc, void* clientd, lbm_event_queue_t* evq);
int lbm_wildcard_rcv_delete(lbm_wildcard_rcv_t* rcv);
int lbm_wildcard_rcv_str_setopt(lbm_wildcard_rcv_t* rcv, const char* option, const char* value);
int lbm_wildcard_rcv_str_getopt(lbm_wildcard_rcv_t* rcv, const char* option, char* value, size_t* length);

/* ---- Sources -------------------------------------------------------------------------------------------------- */

/* Send flags, for lbm_src_send and lbm_send_response. */
#define LBM_MSG_FLUSH 0x4    /* send at once what was collected */
#define LBM_SRC_NONBLOCK 0x8 /* fail with LBM_EWOULDBLOCK instead of waiting */
#define LBM_SRC_BLOCK 0x10   /* wait for room */

#define LBM_SRC_EVENT_CONNECT 1    /* the first receiver is there that is sent what the source sends */
#define LBM_SRC_EVENT_DISCONNECT 2 /* the last one has gone */

typedef int (*lbm_src_cb_proc)(lbm_src_t* src, int event, void* event_data, void* clientd);

int lbm_src_topic_attr_create(lbm_src_topic_attr_t** attr);
int lbm_src_topic_attr_dup(lbm_src_topic_attr_t** attr, const lbm_src_topic_attr_t* original);
int lbm_src_topic_attr_delete(lbm_src_topic_attr_t* attr);
int lbm_src_topic_attr_setopt(lbm_src_topic_attr_t* attr, const char* option, const void* value, size_t length);
int lbm_src_topic_attr_getopt(const lbm_src_topic_attr_t* attr, const char* option, void* value, size_t* length);
int lbm_src_topic_attr_str_setopt(lbm_src_topic_attr_t* attr, const char* option, const char* value);
int lbm_src_topic_attr_str_getopt(const lbm_src_topic_attr_t* attr, const char* option, char* value, size_t* length);

/* A topic name is 1 to 246 bytes without control characters. The topic is the transport's and lives as long as the
 * context. `attr` NULL: defaults. */
int lbm_src_topic_alloc(lbm_topic_t** topic, lbm_context_t* ctx, const char* name, const lbm_src_topic_attr_t* attr);
/* `proc` may be NULL; it is told when receivers come and go, on the context's thread or by the event queue. A receiver
 * gets what is sent from its connection on: what was sent before nobody resends, and it is no loss. */
int lbm_src_create(lbm_src_t** src, lbm_context_t* ctx, lbm_topic_t* topic, lbm_src_cb_proc proc, void* clientd,
                   lbm_event_queue_t* evq);
/* Copies the payload; returns when the transport has accepted it, in order with all other sends of the context whose
 * sources share `when_full` and, unless the context's `source_order` is "context", the topic's first token. There is no
 * room while receivers have not acknowledged more than `send_window_bytes` of these, unless `when_full` is "lose". A
 * send that fails has consumed no sequence number. */
int lbm_src_send(lbm_src_t* src, const char* data, size_t length, int flags);
/* While receivers do not acknowledge, waits for room for the source's end, at most for `close_wait_ms`; without room
 * they learn of it late. */
int lbm_src_delete(lbm_src_t* src);

/* ---- Requests and responses ----------------------------------------------------------------------------------- */

/* One answer: `msg` has the type LBM_MSG_RESPONSE, the answer's bytes, the request's topic, and as source the context
 * that answered, "LBMDDS:<IPv4 address>:<process id>:<context, 16 hex digits>". Its sequence number counts the answers
 * of that context to this request, from 0; a number that is missing is an answer that found the queue full. The result
 * is not used. */
typedef int (*lbm_request_cb_proc)(lbm_request_t* req, lbm_msg_t* msg, void* clientd);

/* Sends a message of the type LBM_MSG_REQUEST, in order with what the source sends otherwise, to every receiver that is
 * connected; each may answer, once, several times or not at all. `flags` as for lbm_src_send. `evq` NULL: answers come
 * on the thread of the source's context. They may come before the call has returned. */
int lbm_send_request(lbm_request_t** req, lbm_src_t* src, const char* data, size_t length, lbm_request_cb_proc proc,
                     void* clientd, lbm_event_queue_t* evq, int flags);
/* Answers that come later are dropped, and so are those that wait on an event queue; as for receivers, no callback goes
 * on afterwards save the one that made the call, whichever thread runs it. */
int lbm_request_delete(lbm_request_t* req);

/* Answers a request, from any thread. The handle belongs to the request message and is valid as long as that message is
 * held, whatever was deleted meanwhile. Answers are sent at once, in order, whether or not `flags` has LBM_MSG_FLUSH.
 * LBM_EWOULDBLOCK: there is no room, and `flags` has LBM_SRC_NONBLOCK; without it the call waits for room or until the
 * requester is gone. There is none when the requester has not acknowledged the context's option
 * "response_window_messages" of answers, or more than 4 MiB of them; when it is not connected yet and the answers that
 * wait for that would exceed 4 MiB; or when 1,024 other requesters have not acknowledged theirs. LBM_EOP: the requester
 * is gone, or the answering context was deleted. A requester that has merely deleted its request takes the answer and
 * drops it. */
int lbm_send_response(lbm_response_t* response, const char* data, size_t length, int flags);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-use-using,modernize-deprecated-headers) */

#endif
