/* Controls of the substitute core library: what a test can make its services do, and what they saw.
 *
 * Every control may be called from any thread. qor_test_reset() brings back the plain behaviour and
 * forgets the records; live blocks and held locks are facts, not records, and stay. */
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

void qor_test_reset(void);

/* Memory. New blocks are filled with 0xA5 bytes and released ones with 0xDD (the first 64 KiB). */

/* Makes the k-th request for memory from now return null, once; 0: none. */
void qor_test_fail_allocation(uint64_t k);
/* Requests since the reset, failed ones too. */
uint64_t qor_test_allocation_requests(void);
/* Alignment and size of the latest request; 0 before the first. */
uint64_t qor_test_last_alignment(void);
uint64_t qor_test_last_size(void);
uint64_t qor_test_live_blocks(void);
uint64_t qor_test_live_bytes(void);
/* Releases of a pointer that is not a live block of this library; such a release does nothing else. */
uint64_t qor_test_bad_releases(void);

/* Environment. */

enum { QOR_TEST_ENVIRONMENT_REAL = 0, QOR_TEST_ENVIRONMENT_FAILS = 1, QOR_TEST_ENVIRONMENT_SET = 2 };
/* REAL: the system's. FAILS: every read gives -1. SET: every read gives `value` (up to 511 bytes). */
void qor_test_environment(int32_t kind, const char *value);
uint64_t qor_test_environment_reads(void);
/* The locks held during the latest read, lock i in bit i. */
uint32_t qor_test_locks_held_at_read(void);

/* Locks. */

/* The locks held now, lock i in bit i. */
uint32_t qor_test_locks_held(void);
/* How often `lock` was taken and given back since the reset. */
uint64_t qor_test_lock_count(int32_t lock);
uint64_t qor_test_unlock_count(int32_t lock);
/* Calls with a number out of range, and releases of a lock that was not held. */
uint64_t qor_test_lock_errors(void);

/* Messages. They are also written, as the real library does. */

/* Messages since the reset; the first 256 can be looked at, i = 0 for the first. */
uint64_t qor_test_message_count(void);
int32_t qor_test_message_number(uint64_t i);
double qor_test_message_value(uint64_t i);
/* Up to 63 bytes of the text; "" when it was null. */
const char *qor_test_message_text(uint64_t i);

/* qor_serv_exit writes the line "exit CODE" to standard error and ends the process with the code. */

#ifdef __cplusplus
}
#endif
