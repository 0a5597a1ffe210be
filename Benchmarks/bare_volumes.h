#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* The least that a C program does to describe volumes and free memory: what the runner is measured against. */

/* Reads the mount table, asks for the sizes and the owner of every mount that lies beneath the folder, and adds up the
   bytes. Returns how many mounts those are, -1 without a table. */
int bare_volumes(const char* folder, unsigned long long* bytes);

/* Free memory in bytes. */
long long bare_free_memory(void);

#ifdef __cplusplus
}
#endif
