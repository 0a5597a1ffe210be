#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* The least that a C program does to have a child's output, or its end: what the runner is measured against. */

/* Runs the program with its standard output in a pipe and counts the bytes, by blocking reads of 2048. */
long long bare_stream(const char* path, char* const* arguments);

/* The same with what the runner owes its delegate: a question, a poll of half a second at most, one read of 2048 bytes
   without blocking, the bytes handed over. */
long long polled_stream(const char* path, char* const* arguments);

/* Runs the program in a session of its own and returns its exit code. */
int bare_start(const char* path, char* const* arguments);

#ifdef __cplusplus
}
#endif
