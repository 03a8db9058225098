/* Makes the recorder's writes slow or makes them hang, on demand. fault.h makes calls fail. */
#ifndef RECORD_FAULT_H
#define RECORD_FAULT_H

/* The functions below are visible. The library hides its other symbols. */
#pragma GCC visibility push(default)

enum record_writes {
    RECORD_WRITES_GO,
    RECORD_WRITES_SLEEP, /* each write sleeps for 150 ms */
    RECORD_WRITES_SPIN,  /* each write runs for 250 ms without sleeping, as if its thread had lost the processor */
    RECORD_WRITES_HANG,  /* each write returns only when record_fault_writes is called again */
};

/* Sets the behaviour of all writes that begin from now on. */
void record_fault_writes(record_writes how);

/* The number of writes that were made to sleep, spin or hang; a write counts from its beginning. record_fault_begun
 * counts the writes of all threads, record_fault_begun_by_main only those of the main thread. */
int record_fault_begun();
int record_fault_begun_by_main();

#pragma GCC visibility pop

#endif
