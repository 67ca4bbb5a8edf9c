// The worker where there are no threads: every job runs at once on the caller's thread.
#include "platform/worker.h"

int WorkerStart() {
    return 0;
}

void WorkerRun(void (*job)(void*), void* arg) {
    job(arg);
}

void WorkerWait() {}
