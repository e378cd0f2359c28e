// The C runtime's calls with wide characters, and the modes in which files are shared.
#ifndef PIXTOLA_WINDOWS_RUNTIME_H_
#define PIXTOLA_WINDOWS_RUNTIME_H_

#include <errno.h>
#include <share.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#endif  // PIXTOLA_WINDOWS_RUNTIME_H_
