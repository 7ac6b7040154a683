#ifndef TELLAR_TEST_DELEGATECALLS_H
#define TELLAR_TEST_DELEGATECALLS_H

/* How often entries of the suites in a library of delegates were called. C99. Each library
   registers its own with the host, as version 1 of a name like "TestSphereDelegateCalls". */
typedef struct DelegateCalls {
    int created;
    int destroyed;
    /* What a delegate finds that asks while it is made itself: whether there is one for disks, and
       one for cones, which is asked later; and how many types have one. */
    int foundDisk;
    int foundCone;
    int foundTypes;
} DelegateCalls;

#endif
