// Puts the kind word and the service function pointers into each handle.
#pragma once

#include "px_boundary.h"

namespace buhost {

void fillOperatorServices(OperatorHandle& h);
void fillSchemaServices(SchemaHandle& h);
void fillColumnServices(ColumnHandle& h);
void fillLogServices(LogHandle& h);

}  // namespace buhost
