#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* The least that a C program does to list volumes and to count free memory: what the runner is measured against. */

struct bare_volume {
    char* place; /* to be freed */
    unsigned owner;
    unsigned long long total;
    unsigned long long available;
};

/* Reads the mount table and asks for the sizes and the owner of every mount that lies beneath the folder. Fills `most`
   records at most. Returns how many mounts those are, -1 without a table. */
int bare_volumes(const char* folder, struct bare_volume* volumes, int most);

/* Free memory in bytes. */
long long bare_free_memory(void);

#ifdef __cplusplus
}
#endif
