#include "MivoraMac/MivoraMac.h"

// The build says the version once, as that of the project, and defines both macros from it.
const double MivoraMacVersionNumber = MIVORA_VERSION_NUMBER;
const char MivoraMacVersionString[] = MIVORA_VERSION_STRING;
