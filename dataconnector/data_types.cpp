// The data type codes: their names and what each kind of column means for
// the row layout and for text output.
#include "schema.h"

extern "C" {

const char DataTypeNames[69][35] = {"UNTYPED",
                                    "INTEGER",
                                    "SMALLINT",
                                    "FLOAT",
                                    "DECIMAL",
                                    "CHAR",
                                    "BYTEINT",
                                    "VARCHAR",
                                    "LONG VARCHAR",
                                    "BYTE",
                                    "VARBYTE",
                                    "INTDATE",
                                    "GRAPHIC",
                                    "VARGRAPHIC",
                                    "LONG VARGRAPHIC",
                                    "ANSIDATE",
                                    "BOOLEAN",
                                    "LONG VARBYTE",
                                    "NULLABLE VARCHAR",
                                    "NULLABLE FLOAT",
                                    "NULLABLE DECIMAL",
                                    "NULLABLE CHAR",
                                    "NULLABLE LONG VARCHAR",
                                    "NULLABLE INTEGER",
                                    "NULLABLE SMALLINT",
                                    "NULLABLE BYTE",
                                    "NULLABLE VARBYTE",
                                    "NULLABLE LONG VARBYTE",
                                    "NULLABLE BYTEINT",
                                    "NULLABLE INTDATE",
                                    "NULLABLE GRAPHIC",
                                    "NULLABLE VARGRAPHIC",
                                    "NULLABLE LONG VARGRAPHIC",
                                    "NULLABLE ANSIDATE",
                                    "NULLABLE BOOLEAN",
                                    "TIME",
                                    "TIME WITH TIME ZONE",
                                    "BIGINT",
                                    "NULLABLE BIGINT",
                                    "BLOB",
                                    "CLOB",
                                    "BLOB BY NAME",
                                    "CLOB BY NAME",
                                    "TIMESTAMP",
                                    "TIMESTAMP WITH TIME ZONE",
                                    "INTERVAL YEAR",
                                    "INTERVAL YEAR TO MONTH",
                                    "INTERVAL MONTH",
                                    "INTERVAL DAY",
                                    "INTERVAL DAY TO HOUR",
                                    "INTERVAL DAY TO MINUTE",
                                    "INTERVAL DAY TO SECOND",
                                    "INTERVAL HOUR",
                                    "INTERVAL HOUR TO MINUTE",
                                    "INTERVAL HOUR TO SECOND",
                                    "INTERVAL MINUTE",
                                    "INTERVAL MINUTE TO SECOND",
                                    "INTERVAL SECOND",
                                    "PERIOD(INTDATE)",
                                    "PERIOD(TIME)",
                                    "PERIOD(TIME WITH TIME ZONE)",
                                    "PERIOD(TIMESTAMP)",
                                    "PERIOD(TIMESTAMP WITH TIME ZONE)",
                                    "NUMBER",
                                    "VARCHARHEX",
                                    "XML",
                                    "XML BY NAME",
                                    "JSON",
                                    "JSON BY NAME"};

const char MetadataKindNames[3][17] = {"None", "FileName", "FileRecordNumber"};

int32_t ColTypeIsLOB = 0;
int32_t ColTypeIsVar = 0;
}

namespace {

bool isInlineLob(int32_t type) {
    return type == 39 || type == 40 || type == 65 || type == 67;
}

bool isVariable(int32_t type) {
    switch (type) {
        case 7:
        case 8:
        case 10:
        case 13:
        case 14:
        case 39:
        case 40:
        case 41:
        case 42:
        case 61:
        case 62:
        case 63:
        case 65:
        case 66:
        case 67:
        case 68:
            return true;
        default:
            return false;
    }
}

bool isCharacter(int32_t type) {
    return type == 5 || type == 15;
}

// BLOB (39) is a LOB but not text; the BY NAME forms are text though not LOBs.
bool delimitedCarries(int32_t type) {
    switch (type) {
        case 7:
        case 40:
        case 41:
        case 42:
        case 65:
        case 66:
        case 67:
        case 68:
            return true;
        default:
            return false;
    }
}

}  // namespace

extern "C" void dcCheckVarType(int32_t type, int32_t* notAllChar,
                               int32_t* fitForDelimited) noexcept {
    ColTypeIsLOB = isInlineLob(type) ? 1 : 0;
    ColTypeIsVar = isVariable(type) ? 1 : 0;
    if (notAllChar != nullptr && !isCharacter(type)) *notAllChar = 1;
    if (fitForDelimited != nullptr && !delimitedCarries(type)) *fitForDelimited = 0;
}

namespace bu::dc {

const char* typeName(int32_t type) noexcept {
    if (type < 0 || type > 68) return "";
    return DataTypeNames[type];
}

}  // namespace bu::dc
