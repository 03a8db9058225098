/* What the recorder's calls of the disk can be made to do, beside failing. */
#ifndef RECORD_FAULT_H
#define RECORD_FAULT_H

/* These functions are visible, unlike all else in the library. */
#pragma GCC visibility push(default)

enum record_writes {
    RECORD_WRITES_GO,
    RECORD_WRITES_SLEEP, /* each for 150 ms */
    RECORD_WRITES_SPIN,  /* each for 250 ms, as on a processor that others have */
    RECORD_WRITES_HANG,  /* each until record_fault_writes is called again */
};

/* Sets what the writes do that begin from now on. */
void record_fault_writes(record_writes how);

/* How many writes have begun that were made to sleep, spin or hang; and how many of these on the main thread. */
int record_fault_begun();
int record_fault_begun_by_main();

#pragma GCC visibility pop

#endif
