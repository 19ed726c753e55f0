#include "SensorFile.h"

#include "DKFile.h"
#include "DeviceAccess.h"
#include "SensorPaths.h"
#include "SensorReport.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::SensorFile;
constexpr unsigned char kRewrite = DKFile::modeWrite | DKFile::modeTruncate;

const char* printable(const char* text) {
    return text ? text : "(null)";
}

} // namespace

INT64 getFileLen(const char* file_name) {
    DKFile file;
    if (!file.open(file_name, kOpenForReading))
        REPORT_ASSERTION("file.open(file_name)", "file_name(%s)", printable(file_name));
    return file.getLength();
}

int loadFromFile(const char* file_name, char* buffer, INT64 size) {
    reportTrace(TraceKind::Debug, REPORT_SITE, kColourWhite, "open file:%s\n",
                printable(file_name));
    DKFile file;
    if (buffer == nullptr || !file.open(file_name, kOpenForReading))
        return -1;
    const int nSize = file.read(buffer, static_cast<u32>(size));
    if (nSize != size)
        return -1;
    file.close();
    return nSize;
}

int saveToFile(char* file_name, char* data, INT64 file_len) {
    DKFile file;
    if (!file.open(file_name, kRewrite)) {
        REPORT_ASSERTION("file.open(file_name, DKFile::modeWrite | DKFile::modeTruncate)",
                         "file_name(%s)\n", printable(file_name));
    }
    const int nSize = file.write(data, data ? static_cast<u32>(file_len) : 0);
    if (nSize != file_len) {
        REPORT_ASSERTION("file_len == (nSize=file.write(data, file_len))", "file_len(%d)\n",
                         static_cast<int>(file_len));
    }
    file.close();
    return nSize;
}

int keyValFromFile(char* file_name, KeyVal* p_pKeyVal, u32 p_nKeyValNum) {
    DKFile file;
    if (!file.open(file_name, kOpenForReading))
        REPORT_ASSERTION("file.open(file_name)", "file_name(%s)\n", printable(file_name));
    const u32 bytes = p_nKeyValNum * static_cast<u32>(sizeof(KeyVal));
    const int nSize = file.read(p_pKeyVal, p_pKeyVal ? bytes : 0);
    if (static_cast<u32>(nSize) != bytes) {
        REPORT_ASSERTION("nSize == sizeof(KeyVal)*p_nKeyValNum",
                         "file_name(%s) nSize(%d) sizeof(KeyVal) = %d, p_nKeyValNum(%d)\n",
                         printable(file_name), nSize, static_cast<int>(sizeof(KeyVal)),
                         static_cast<int>(p_nKeyValNum));
    }
    file.close();
    return SNS_SUCCESS;
}

int keyValToFile(char* file_name, KeyVal* p_pKeyVal, u32 p_nKeyValSum) {
    DKFile file;
    if (!file.open(file_name, kRewrite)) {
        REPORT_ASSERTION("file.open(file_name, DKFile::modeWrite | DKFile::modeTruncate)",
                         "file_name(%s)\n", printable(file_name));
    }
    const u32 bytes = p_nKeyValSum * static_cast<u32>(sizeof(KeyVal));
    const int nSize = file.write(p_pKeyVal, p_pKeyVal ? bytes : 0);
    if (static_cast<u32>(nSize) != bytes) {
        // The detail's last name differs from the expression's; technicians' scripts know it so.
        REPORT_ASSERTION("nSize == sizeof(KeyVal)*p_nKeyValSum",
                         "nSize(%d) sizeof(KeyVal) = %d, p_nKeyValNum(%d)\n", nSize,
                         static_cast<int>(sizeof(KeyVal)), static_cast<int>(p_nKeyValSum));
    }
    file.close();
    return SNS_SUCCESS;
}

int getVersion(u32* p_pnVersion) {
    const int nSize = loadFromFile(sensor_paths::kVersionFile, reinterpret_cast<char*>(p_pnVersion),
                                   sizeof *p_pnVersion);
    return nSize < 1 ? -1 : SNS_SUCCESS;
}

int setVersion(u32 p_nVersion) {
    u32 nVersion = p_nVersion;
    // The name is only read.
    const int nSize = saveToFile(const_cast<char*>(sensor_paths::kVersionFile),
                                 reinterpret_cast<char*>(&nVersion), sizeof nVersion);
    return nSize < 1 ? -1 : SNS_SUCCESS;
}
