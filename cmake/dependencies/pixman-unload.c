// pixman with an end: a host unloads and reloads a plug-in at will, and each time pixman would leave behind what it
// allocated as it was loaded.
#include "pixman.c"  // the object that every user of pixman links, and that holds the variable below

static void __attribute__((destructor)) pixman_destructor(void) {
    pixman_implementation_t* implementation = global_implementation;
    global_implementation = NULL;
    while (implementation) {
        pixman_implementation_t* const next = implementation->fallback;
        free(implementation);
        implementation = next;
    }
}
