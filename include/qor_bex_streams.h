/*
 * qor_bex_streams.h: random streams, their generators, attached data and shared data.
 *
 * A stream is one block of memory: a 16-byte header (generator id, a word, the list of attached data)
 * and the state of one basic generator. Handles are pointers to it. All entries return 0 on success and a
 * negative status below otherwise, unless they say what else they return.
 *
 * Threads: different streams may be used by different threads at once; one stream may not. Streams may
 * share read-only data freely. Registering a generator must not run beside another registration.
 */
#ifndef QOR_BEX_STREAMS_H
#define QOR_BEX_STREAMS_H

#include "qor_data.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes ----------------------------------------------------------------------------------- */

#define BEX_STATUS_OK 0
#define BEX_STATUS_BAD_METHOD (-2) /* a method that init_stream does not know */
#define BEX_STATUS_NO_MEMORY (-4)
#define BEX_STATUS_NULL_ENTRY (-5)                /* registering a row that lacks an entry */
#define BEX_STATUS_BAD_ID (-1000)                 /* no such generator, or none that makes streams */
#define BEX_STATUS_NO_LEAPFROG (-1002)            /* the generator cannot leapfrog */
#define BEX_STATUS_NO_SKIP_AHEAD (-1003)          /* ... skip ahead */
#define BEX_STATUS_NO_SKIP_AHEAD_EXTENDED (-1004) /* ... skip ahead by a count of many words */
#define BEX_STATUS_BAD_STATE_BYTES (-1008)        /* registration: state_bytes < 0 */
#define BEX_STATUS_BAD_WORD_BYTES (-1009)         /* registration: word_bytes not 4, 8 or 16 */
#define BEX_STATUS_BAD_SEED_WORDS (-1010)         /* registration: seed_words < 1 */
#define BEX_STATUS_BAD_RESULT_BITS (-1011)        /* registration: result_bits < 1 */
#define BEX_STATUS_BAD_STREAM_COUNT (-1013)       /* leapfrog over a negative number of streams */
#define BEX_STATUS_TABLE_FULL (-1015)             /* registration: all 512 rows are taken */
#define BEX_STATUS_NOT_AVAILABLE (-1016)          /* a generator that this version does not have yet */
#define BEX_STATUS_NO_SUCH_OUTPUT (-1122)         /* an abstract stream of another type */
#define BEX_STATUS_KEY_NOT_FOUND (-3000)          /* shared data: no row of this key */
#define BEX_STATUS_SHARED_TABLE_FULL (-3001)      /* shared data: all 128 rows are taken */

/* Generator rows ---------------------------------------------------------------------------------- */

/* The entries of a generator; each returns a status, 0 on success.
 * BexInitStream by method:
 *   0  initialises a stream whose header is filled: n 32-bit words of seed in params (fewer than
 *      seed_words are allowed, words beyond are ignored)
 *   1  leapfrog: n streams in all, params points to the index (32-bit) of this one
 *   2  skip ahead: n is 2, params points to a 64-bit count of elements
 *   3  the same by a count of n 64-bit words, least significant first
 * Outputs write the next n elements to r: numbers of [a, b), a + x*s with s formed once a call, or the raw
 * integers x, word_bytes each. All three draw the same sequence. A double may round up to b. */
typedef int32_t (*BexInitStream)(int32_t method, void *stream, int32_t n, const void *params);
typedef int32_t (*BexFloatOutput)(void *stream, int32_t n, float *r, float a, float b);
typedef int32_t (*BexDoubleOutput)(void *stream, int32_t n, double *r, double a, double b);
typedef int32_t (*BexIntegerOutput)(void *stream, int32_t n, void *r);

typedef struct BexBrngProperties {
    int32_t state_bytes;   /* a whole stream, header included */
    int32_t seed_words;    /* 32-bit words of seed used at most */
    int32_t zero_possible; /* 1 where a raw output can be zero; information only */
    int32_t word_bytes;    /* one raw output: 4, 8 or 16 */
    int32_t result_bits;   /* significant bits of a raw output */
    BexInitStream init_stream;
    BexFloatOutput out_float;
    BexDoubleOutput out_double;
    BexIntegerOutput out_uint;
} BexBrngProperties;

/* Generator ids. An id from 0x100000 on is (row + 1) << 20 | member, in the table __RegBrngsNew; one below is
 * a row of the table __RegBrngs, except that 4 .. 276 are the 273 members of its row 4. */
#define BEX_BRNG_MCG31M1 0x100000u
#define BEX_BRNG_R250 0x200000u
#define BEX_BRNG_MRG32K3A 0x300000u
#define BEX_BRNG_MCG59 0x400000u
#define BEX_BRNG_WH 0x500000u /* members 0 .. 272 */
#define BEX_BRNG_SOBOL 0x600000u
#define BEX_BRNG_NIEDERR 0x700000u
#define BEX_BRNG_MT19937 0x800000u
#define BEX_BRNG_MT2203 0x900000u    /* members 0 .. 6023 */
#define BEX_BRNG_IABSTRACT 0xA00000u /* the abstract ids: not for __bexNewStreamEx */
#define BEX_BRNG_DABSTRACT 0xB00000u
#define BEX_BRNG_SABSTRACT 0xC00000u
#define BEX_BRNG_SFMT19937 0xD00000u
#define BEX_BRNG_TRNG 0xE00000u
#define BEX_BRNG_ARS5 0xF00000u
#define BEX_BRNG_PHILOX4X32X10 0x1000000u

/* The tables; registration writes the second. */
QOR_FYN_DATA const BexBrngProperties __RegBrngs[512];
QOR_FYN_DATA BexBrngProperties __RegBrngsNew[512];

/* The first row of the table an id belongs to; its row and member go to *row and *member. Every id gets an
 * answer, also one that names no generator: see __bexIsBrngValid. */
const BexBrngProperties *__bexGetBrngBaseOffset(uint32_t id, uint32_t *row, uint32_t *member);
/* 0 or BEX_STATUS_BAD_ID. Of __RegBrngs the rows below 281 are valid (279 and 280 are empty, and make no
 * streams), of __RegBrngsNew the rows in use and the members they have. */
int32_t __bexIsBrngValid(const BexBrngProperties *table, uint32_t row, uint32_t member);
/* Copies the row of an id to *properties, or BEX_STATUS_BAD_ID. */
int32_t __bexGetBrngProperties(uint32_t id, BexBrngProperties *properties);
/* Rows in use of __RegBrngsNew: 16, and one more for each registration. */
int32_t __bexGetNumRegBrngs(void);
/* The generator id of a stream. */
uint32_t __bexGetStreamStateBrng(const void *stream);
/* Adds a generator of the caller's. Returns its id (positive) or a status; the fields are checked in the
 * order of the statuses -1008, -1009, -1010, -1011, -5, -1015. A stream is never smaller than its header. */
int32_t __bexRegisterBrng(const BexBrngProperties *properties);

/* Streams ----------------------------------------------------------------------------------------- */

/* Makes a stream of generator `id` from n words of seed. *stream is null when there is no stream
 * (BEX_STATUS_BAD_ID, BEX_STATUS_NO_MEMORY). Any other status is the generator's own; the stream then exists,
 * not ready for use, and is to be deleted. */
int32_t __bexNewStreamEx(void **stream, uint32_t id, int32_t n, const uint32_t *params);
/* The same without initialising the generator, for a row found by __bexGetBrngBaseOffset. */
int32_t __bexAllocateStream(void **stream, const BexBrngProperties *table, uint32_t id, uint32_t row,
                            uint32_t member);
/* Makes a copy of a stream with its attached data, which the copy lists in reverse order. *stream is null
 * on failure. */
int32_t __bexCopyStream(void **stream, const void *source);
/* Copies state and attached data into a stream of the same generator; attached data of the destination is
 * released first. The state copied is seed_words * word_bytes bytes behind the header, for some generators
 * not all of it (MCG59: not the multiplier, which leapfrog changes). Generators are not compared; never more
 * is copied than the destination holds. On failure the destination is left without attached data. */
int32_t __bexCopyStreamState(void *destination, const void *source);
/* Releases a stream with its attached data and sets the handle to null. A null stream is allowed. */
int32_t __bexDeleteStream(void **stream);
/* From now on the stream yields every nstreams-th element of its sequence, from element k on. */
int32_t __bexLeapfrogStream(void *stream, int32_t k, int32_t nstreams);
/* Passes over nskip elements. Ex: nskip has n words, the least significant first. */
int32_t __bexSkipAheadStream(void *stream, uint64_t nskip);
int32_t __bexSkipAheadStreamEx(void *stream, int32_t n, const uint64_t *nskip);

/* Attached data ----------------------------------------------------------------------------------- */

/* Chunks of data attached to a stream, in a list with the newest at its head. `id` is the caller's choice
 * (the library's own: 1 to 8 for distributions, 9 and 13 for generators), `size` counts bytes, and blocks
 * come from qor_serv_allocate. The stream owns a block from the moment it is added.
 *
 * A block with a key (two 64-bit words, not both zero) is shared by all chunks that carry the key: the first
 * one added brings the block, later ones get that block, and it is released with the last. The process shares
 * up to 127 blocks in this way; when there are more, blocks are private whatever their key. */

/* Adds a chunk; `key` may be null. When the key is shared already, `data` stays the caller's. Returns 0 or
 * BEX_STATUS_NO_MEMORY (nothing is added). */
int32_t __bexAddChunk(void *stream, uint32_t id, const uint64_t *key, void *data, uint32_t size);
/* The data of the newest chunk of this id, or null. */
void *__bexSearchChunk(const void *stream, uint32_t id);
int32_t __bexGetNumChunks(const void *stream);
int32_t __bexDeleteChunks(void *stream);
/* Releases the chunks of this id. Of the others only the oldest stays attached: where there are more, take
 * what is needed off the stream before. */
int32_t __bexDeleteChunksById(void *stream, uint32_t id);
/* Adds copies of all chunks of `source`, from its head on; shared blocks are not copied. On failure all
 * chunks of the destination are released. */
int32_t __bexCopyChunks(void *destination, const void *source);

/* Shared data ------------------------------------------------------------------------------------- */

/* The table of shared blocks: 128 rows of 32 bytes (key 0, references 16, block 24), in no lasting order.
 * These entries may be called from any number of threads; the address of a row is good until the next
 * release. */

/* Adds a row with one reference; the table does not look for the key. *entry is its address. Returns 0 or
 * BEX_STATUS_SHARED_TABLE_FULL. */
int32_t __bexCreateGlobRODataTableEntry(void **entry, const uint64_t *key, void *data);
/* The first row of a key, or BEX_STATUS_KEY_NOT_FOUND, also for a null key and the key of two zeros. */
int32_t __bexFindGlobRODataTableEntry(void **entry, const uint64_t *key);
/* Takes a reference to the block of a key and writes the block's address 8 bytes into `chunk` (40 bytes: id
 * 0, size 4, data 8, next 16, key 24). Returns 0 or BEX_STATUS_KEY_NOT_FOUND, which changes nothing. */
int32_t __bexRegisterGlobRODataReference(void *chunk, const uint64_t *key);
/* Gives a reference back; the last one releases the block. Returns 0 or BEX_STATUS_KEY_NOT_FOUND. */
int32_t __bexUnregisterGlobRODataReference(const uint64_t *key);
/* Sets key[1] to `value` and returns 0 once no row has the key. key[0] is the caller's and makes it unique;
 * for a key that is in use the call waits until it is not. */
int32_t __bexGenerateNewGlobalRODataTableEntryId(uint64_t *key, uint64_t value);

/* Saved images ------------------------------------------------------------------------------------ */

/* A stream with its attached data, written to a file or to memory and made again from it; files and memory
 * hold the same bytes on every system. docs/image_format.md describes them. Images of version 2 are written,
 * versions 1 and 2 are read. A loaded stream lists its attached data in the reverse of the saved order.
 *
 * What a file claims about itself is checked. What no check can tell is believed: the numbers of the state,
 * that a key of attached data which this process shares already stands for the same data, and everything
 * about lengths in an image in memory. Load images of your own making. */

#define BEX_STATUS_CLOSE_FAILED (-1100)
#define BEX_STATUS_OPEN_FAILED (-1101)
#define BEX_STATUS_WRITE_FAILED (-1102)
#define BEX_STATUS_READ_FAILED (-1103)        /* the file ends before the image does */
#define BEX_STATUS_BAD_FILE (-1110)           /* not an image, or not one of a generator known here */
#define BEX_STATUS_BAD_VERSION (-1111)        /* an image of a later version */
#define BEX_STATUS_NO_HARDWARE_RANDOM (-1130) /* a TRNG stream, and the processor lacks RDRAND */
#define BEX_STATUS_NO_AES (-1140)             /* an ARS5 stream, and the processor lacks the AES instructions */
#define BEX_STATUS_BAD_IMAGE (-1200)          /* -1110 and -1111 of images in memory */

/* Writes a stream to a file, anew where there is one. `name` has `length` bytes, or ends with a NUL where
 * length is negative; it is in the encoding of the system's file calls. Returns 0, BEX_STATUS_BAD_ID (no
 * generator; no file is opened), BEX_STATUS_NO_MEMORY (for the name) or -1100 to -1102, whichever was first;
 * after -1100 and -1102 the file is incomplete. Streams with more than 65535 chunks give -1102 and open no
 * file. */
int32_t __bexSaveStreamF(const void *stream, const char *name, int32_t length);
/* Makes a stream from a file; bytes behind the image are not looked at. *stream is null on failure:
 * BEX_STATUS_NO_MEMORY, BEX_STATUS_BAD_ID (the id of an empty row) or one of -1100, -1101, -1103 to -1140. */
int32_t __bexLoadStreamF(void **stream, const char *name, int32_t length);
/* The bytes of a stream's image: state_bytes + 8, and size + 24 for each chunk. BEX_STATUS_BAD_ID for no
 * generator, -1102 for more than 65535 chunks, BEX_STATUS_NO_MEMORY for more than 2^31 - 1 bytes. */
int32_t __bexGetStreamSize(const void *stream);
/* Writes the image to a buffer of __bexGetStreamSize bytes, which needs no alignment. Bytes 1 to 3, 10, 11,
 * 18 and 19 of the buffer stay as they are. Returns 0, BEX_STATUS_BAD_ID or -1102 (more than 65535 chunks). */
int32_t __bexSaveStreamM(const void *stream, void *buffer);
/* Makes a stream from a whole image in memory. *stream is null on failure: BEX_STATUS_NO_MEMORY,
 * BEX_STATUS_BAD_ID, -1103 (chunks of an unknown version), -1130, -1140 or -1200. */
int32_t __bexLoadStreamM(void **stream, const void *buffer);

/* Generators -------------------------------------------------------------------------------------- */

/* The entries in the rows of the tables, also for callers that know their generator. Of generators that this
 * version does not have yet they return BEX_STATUS_NOT_AVAILABLE, or the status of what will never be
 * supported. Of an abstract generator the outputs of other types than its own return
 * BEX_STATUS_NO_SUCH_OUTPUT. */
#define QOR_BEX_GENERATOR(name)                                                                              \
    int32_t __bexBRng##name##InitStream(int32_t method, void *stream, int32_t n, const void *params);        \
    int32_t __bexsBRng##name(void *stream, int32_t n, float *r, float a, float b);                           \
    int32_t __bexdBRng##name(void *stream, int32_t n, double *r, double a, double b);                        \
    int32_t __bexiBRng##name(void *stream, int32_t n, void *r);
QOR_BEX_GENERATOR(MCG31M1)
QOR_BEX_GENERATOR(R250)
QOR_BEX_GENERATOR(MRG32K3A)
QOR_BEX_GENERATOR(MCG59)
QOR_BEX_GENERATOR(WH)
QOR_BEX_GENERATOR(Sobol)
QOR_BEX_GENERATOR(Niederr)
QOR_BEX_GENERATOR(MT19937)
QOR_BEX_GENERATOR(MT2203)
QOR_BEX_GENERATOR(iAbstract)
QOR_BEX_GENERATOR(dAbstract)
QOR_BEX_GENERATOR(sAbstract)
QOR_BEX_GENERATOR(SFMT19937)
QOR_BEX_GENERATOR(TRNG)
QOR_BEX_GENERATOR(ARS5)
QOR_BEX_GENERATOR(PHILOX4X32X10)
#undef QOR_BEX_GENERATOR

/* base^e modulo 2^31 - 1, 2^59 and any modulus but 0; 1 for e = 0. */
uint32_t __bexiPowMod2P31M1(uint32_t base, uint64_t e);
uint64_t __bexiPowMod2P59(uint64_t base, uint64_t e);
uint32_t __bexiPowMod(uint32_t base, uint64_t e, uint32_t modulus);

/* Multiplies a vector of three words by the e-th power of a 3 x 3 matrix (nine words, row by row), in place,
 * modulo any modulus but 0; e = 0 leaves the vector as it is. Array: e has n words, the least significant first.
 * M1 and M2 do so for the matrices of the two components of MRG32K3A: they advance a component's three words,
 * the oldest first, by e steps. */
void __bexiVect3PowMod(const uint32_t *matrix, uint64_t e, uint32_t modulus, uint32_t *vector);
void __bexiVect3PowArrayMod(const uint32_t *matrix, int32_t n, const uint64_t *e, uint32_t modulus,
                           uint32_t *vector);
void __bexiVect3PowArrayMod_M1(int32_t n, const uint64_t *e, uint32_t *vector);
void __bexiVect3PowArrayMod_M2(int32_t n, const uint64_t *e, uint32_t *vector);

#ifdef __cplusplus
}
#endif

#endif
