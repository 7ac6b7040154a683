#ifndef TELLAR_TEST_DELEGATECALLS_H
#define TELLAR_TEST_DELEGATECALLS_H

/* How often entries of the suites in a library of delegates were called. C99. Each library
   registers its own with the host, as version 1 of a name like "TestSphereDelegateCalls". */
typedef struct DelegateCalls {
    int created;
    int destroyed;
    /* The answers to a delegate that asks for delegates while it is created: whether there is one
       for disks, and one for cones, which is created later; and how many types have one. */
    int foundDisk;
    int foundCone;
    int foundTypes;
} DelegateCalls;

#endif
