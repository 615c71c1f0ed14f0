// The table of the globals a job changes in the data connector and the
// layers below it, grouped by the layer that defines them; see
// layer_globals.h. The access layer's pool, modules and files go back with
// pmShutDown, not through the table.
#include "layer_globals.h"

#include "attributes.h"
#include "buffer_mode.h"
#include "charsets.h"
#include "checkpoint_restart.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "delimited_parse.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "file_list.h"
#include "file_path_globals.h"
#include "file_settings.h"
#include "initiation.h"
#include "pmdcomt.h"
#include "record_error_file.h"
#include "record_error_settings.h"
#include "row_intake.h"
#include "row_output.h"
#include "schema.h"
#include "termination.h"
#include "text_attr.h"

namespace {

constexpr bu::LayerGlobal kLayerGlobals[] = {
    // Reporting.
    BU_GLOBAL(DC_TraceLvl), BU_GLOBAL(StatsTraceLevel), BU_GLOBAL(DC_StatsOnly),
    BU_GLOBAL(bDisplayFuncName), BU_GLOBAL(TimeStampMessages), BU_GLOBAL(bErrorsTostderr),
    BU_GLOBAL(CurrentSystemTime), BU_GLOBAL(Public_loghandle), BU_GLOBAL(Private_loghandle),
    BU_GLOBAL(SG_opHandle), BU_GLOBAL(JobOpName), BU_GLOBAL(ThisInstance),
    BU_GLOBAL(CurrentExitCode), BU_GLOBAL(NewExitCode), BU_GLOBAL(dcDiagErrCheck),
    BU_GLOBAL(dcLastLogStatus),

    // The file path's settings and counters, and the row on its way (access).
    BU_GLOBAL(bTakeAMcheckpoint), BU_GLOBAL(pmHadoopFS), BU_GLOBAL(FIFO_TimeOutSeconds),
    BU_GLOBAL(bMultiInstanceRead), BU_GLOBAL(SG_LatencyOn), BU_GLOBAL(EndianFlip),
    BU_GLOBAL(FileRecordCount), BU_GLOBAL(bWriteBOM), BU_GLOBAL(bAcceptEOFasEOR),
    BU_GLOBAL(SG_RowErrFileName), BU_GLOBAL(RowCount), BU_GLOBAL(pmBuffer), BU_GLOBAL(pmfp),
    BU_GLOBAL(pmBufferRecCount),

    // The character set and the walk's flags.
    BU_GLOBAL(IsMBC), BU_GLOBAL(UpperCase), BU_GLOBAL(PassThrough), BU_GLOBAL(SG_CharsetName),
    BU_GLOBAL(UsingSingleByteCharSet), BU_GLOBAL(SG_UTF_CharsetNum), BU_GLOBAL(IsUnicodeCS),
    BU_GLOBAL(bUnsupportedCharacterSet), BU_GLOBAL(badmbcs), BU_GLOBAL(fourByteUTF),
    BU_GLOBAL(Valid_UTFX), BU_GLOBAL(bTruncateUTF8), BU_GLOBAL(bCheckTolerant),

    // The output file's format and the delimiter-like settings (record formats).
    BU_GLOBAL(FileFormat), BU_GLOBAL(Format_C), BU_GLOBAL(TextDelimiter), BU_GLOBAL(bQuotedData),
    BU_GLOBAL(bAppendDelimiter), BU_GLOBAL(BufferSize), BU_GLOBAL(Reading),
    BU_GLOBAL(EscapeTextCharacter), BU_GLOBAL(OpenQuoteMark), BU_GLOBAL(CloseQuoteMark),
    BU_GLOBAL(EscapeQuoteCharacter), BU_GLOBAL(TrimLeadingChar), BU_GLOBAL(TrimTrailingChar),
    BU_GLOBAL(EscapeRecDelim), BU_GLOBAL(RowErrFilePrefixChar), BU_GLOBAL(DefaultChar),
    BU_GLOBAL(cDelimiter), BU_GLOBAL(cEscapeTextCharacter), BU_GLOBAL(cOpenQuoteMark),
    BU_GLOBAL(cCloseQuoteMark), BU_GLOBAL(cEscapeQuoteCharacter), BU_GLOBAL(cTrimLeadingChar),
    BU_GLOBAL(cTrimTrailingChar), BU_GLOBAL(bUsingDelimiterEscCharacter),
    BU_GLOBAL(bUsingQuoteEscCharacter), BU_GLOBAL(bTrimLeadingBlanks),
    BU_GLOBAL(bTrimTrailingBlanks), BU_GLOBAL(bUsingSingleTrimLeadingChar),
    BU_GLOBAL(bUsingSingleTrimTrailingChar), BU_GLOBAL(bUsingSingleByteDelimiter),
    BU_GLOBAL(TrimLeadingNchars), BU_GLOBAL(TrimTrailingNchars), BU_GLOBAL(UDDI_ParsingCase),
    BU_GLOBAL(bUDDIcaseSetUp),

    // Initiation.
    BU_GLOBAL(TotalInstances), BU_GLOBAL(OperatorType), BU_GLOBAL(MaxBytesToDump),
    BU_GLOBAL(DC_RestartMode), BU_GLOBAL(RowsPerInstanceLimit), BU_GLOBAL(SkipRowsCount),
    BU_GLOBAL(bSkipRowsEveryFile), BU_GLOBAL(SG_IndicatorData), BU_GLOBAL(bNullColumns),
    BU_GLOBAL(SG_CharSetName), BU_GLOBAL(DC_TimeOutSeconds), BU_GLOBAL(dcJobID),
    BU_GLOBAL(dcOperatorCount), BU_GLOBAL(dcOperatorNumber), BU_GLOBAL(dcJobStepNumber),
    BU_OWNED_GLOBAL(dcPrivateLogName),

    // Attribute readers.
    BU_GLOBAL(PX_Len), BU_GLOBAL(bYNAttrPresent),

    // The file's catalogue, its access and its record error settings.
    BU_GLOBAL(pmInitialised), BU_GLOBAL(AccessModuleName), BU_OWNED_GLOBAL(AccessModuleInitStr),
    BU_GLOBAL(bIOviaAccessModule), BU_GLOBAL(bAccessModuleInitStr), BU_GLOBAL(DC_pmHandle),
    BU_GLOBAL(UsingVigilWindow), BU_GLOBAL(DC_FileName), BU_GLOBAL(pCurrentFileName),
    BU_GLOBAL(DC_OpenMode), BU_GLOBAL(SG_AcceptExcessColumns), BU_GLOBAL(SG_AcceptMissingColumns),
    BU_GLOBAL(TruncateColumnsOpt), BU_GLOBAL(RowsSkipped), BU_GLOBAL(Hadoop_JobType),
    BU_GLOBAL(bAllowMultiInstanceRead), BU_GLOBAL(LogDirectory), BU_GLOBAL(SG_ErrorRowLimit),
    BU_GLOBAL(RowErrorVerbosity), BU_GLOBAL(SG_ContinueOnRowError), BU_GLOBAL(SG_pmFpErrors),
    BU_GLOBAL(ErrorsPmHandle), BU_GLOBAL(SG_ErrorRowCount), BU_GLOBAL(RowErrOpenMode),
    BU_GLOBAL(TempRowErrFileName),

    // Checkpoints and buffer mode.
    BU_OWNED_GLOBAL(PosSummary), BU_GLOBAL(RecordInstanceTarget), BU_OWNED_GLOBAL(BufferInfo),
    BU_GLOBAL(MaxBufferRowLen), BU_GLOBAL(BufferModeChecked),

    // The schema. Its arrays are freed by freeSchema first, but for the one
    // that termination leaves alone.
    BU_GLOBAL(schemaHandle), BU_GLOBAL(ColumnHandleList), BU_GLOBAL(SG_ColNames),
    BU_GLOBAL(SG_ColTypes), BU_GLOBAL(SG_ColPrecision), BU_GLOBAL(SG_ColScale),
    BU_GLOBAL(SG_ColLensBase), BU_GLOBAL(SG_ColLens), BU_GLOBAL(SG_ColOffs), BU_GLOBAL(SG_IndBytes),
    BU_GLOBAL(SG_IsVarType), BU_GLOBAL(SG_IsInlineLOB), BU_GLOBAL(SG_ColLensOrig),
    BU_GLOBAL(SG_ColDlmCnt), BU_OWNED_GLOBAL(SG_ClQcount), BU_GLOBAL(SG_ColCount),
    BU_GLOBAL(SchemaColCount), BU_GLOBAL(MetadataCount), BU_GLOBAL(SG_VARtypesFlag),
    BU_GLOBAL(SG_LOBStypesFlag), BU_GLOBAL(SG_NUMtypesFlag), BU_GLOBAL(bLOBsINschema),
    BU_GLOBAL(NumIndBytes), BU_GLOBAL(SrcNumIndBytes), BU_GLOBAL(BufferFixedLength),
    BU_GLOBAL(TotalFixedLength), BU_GLOBAL(ConvertedExtraBytes), BU_GLOBAL(ConvertDelimitedData),
    BU_GLOBAL(VarDatePresent), BU_GLOBAL(VarDateUTF16), BU_GLOBAL(bUsingUDDI),
    BU_GLOBAL(ColTypeIsLOB), BU_GLOBAL(ColTypeIsVar), BU_GLOBAL(MetadataColNum),
    BU_GLOBAL(MetadataColKind), BU_GLOBAL(MetadataColType), BU_GLOBAL(MetadataColLen),
    BU_GLOBAL(MetadataColLenBase), BU_GLOBAL(MetadataColPrefix), BU_GLOBAL(MetadataColName),
    BU_GLOBAL(FileNameColNum), BU_GLOBAL(FileRecNumColNum), BU_GLOBAL(FileNameColLen),
    BU_GLOBAL(FileNameColMaxLen), BU_GLOBAL(FileNameColType), BU_GLOBAL(FileRecNumColLen),
    BU_GLOBAL(MetadataWorkBuffer), BU_GLOBAL(FileNameInsertBuffer), BU_GLOBAL(dtFormatStringIn),
    BU_GLOBAL(dtFormatStringOut), BU_GLOBAL(dtEncodedFormatStrsIn),
    BU_GLOBAL(dtEncodedFormatStrsOut), BU_GLOBAL(dtOutputRow), BU_GLOBAL(dtInputCol),
    BU_GLOBAL(dtOutputCol),

    // Rows, delimited records and termination. The delimited buffers are
    // freed by dcfini first.
    BU_GLOBAL(BulkUnloadOutMod), BU_GLOBAL(LastStatus), BU_GLOBAL(bMultiByteOpenQuote),
    BU_GLOBAL(pmBufferTarget), BU_GLOBAL(pmBufferOrig), BU_GLOBAL(ExecuteSuccessFlag),
    BU_GLOBAL(SG_NumEscErrColumns), BU_GLOBAL(ActualColumnCount), BU_GLOBAL(ExtractErrMsg),
    BU_GLOBAL(UDDI_FeatureName), BU_GLOBAL(LastLOBLength),

    // The producer's file lists.
    BU_GLOBAL(FileListFp), BU_GLOBAL(FileListRecord), BU_GLOBAL(UsingFileList)};

const bu::ValuesAtLoad<kLayerGlobals> valuesAtLoad;

}  // namespace

namespace bu::dc {

std::span<const LayerGlobal> layerGlobals() noexcept {
    return kLayerGlobals;
}

void resetLayers() noexcept {
    if (pmInitialised) abandonFilePath();
    freeSchema();
    dcfini();
    resetFileKind();
    trceSetFp(nullptr);
    valuesAtLoad.restore();
}

}  // namespace bu::dc
