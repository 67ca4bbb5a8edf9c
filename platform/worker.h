// A second thread for the frame's work: started once, then handed one job at a time,
// which the caller waits for. Platform-supplied: std::thread on Linux and headless,
// CreateThread and events on Windows, and an inline form without a thread (where there
// are no threads, as in a browser) that runs each job at once.
#pragma once

// Starts the worker, which computes with the floating-point settings (rounding, flush
// to zero) of the thread that starts it. Returns 1, or 0 when there is no worker thread
// (jobs then run on the calling thread). Later calls return the first result.
int WorkerStart();
// Hands job(arg) to the worker, or runs it at once without one. The job before must
// have been waited for.
void WorkerRun(void (*job)(void* arg), void* arg);
// Returns once the job handed over last has finished (at once when there is none).
void WorkerWait();
