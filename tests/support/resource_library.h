// A shared library that has resources of its own, for their tests.
#ifndef PIXTOLA_TESTS_SUPPORT_RESOURCE_LIBRARY_H_
#define PIXTOLA_TESTS_SUPPORT_RESOURCE_LIBRARY_H_

/// Some address in the library: a program that calls this has the library loaded.
const void* AddressInResourceLibrary();

#endif  // PIXTOLA_TESTS_SUPPORT_RESOURCE_LIBRARY_H_
