// The access layer's process-wide globals that the data connector and the
// operator frame use directly: the record a row passes through, and the
// handle of the output file.
#include "pmdcomt.h"

extern "C" {
pmData pmBuffer = {0, nullptr};
pmFp pmfp = 0;
}
