#pragma once

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

// Another maker's framework and layer: no more than the library asks of them, with other members,
// sizes and kinds of functions than ours. The only file there is is a style.

/// Makes an object larger than ours, and ends the process when it was not made where it is used.
class Guard {
public:
    Guard() : m_pSelf(this) {}
    Guard(const Guard& /*other*/) : Guard() {}
    Guard& operator=(const Guard& /*other*/) { return *this; }
    void check() const {
        if (m_pSelf != this)
            abort();
    }

private:
    char m_aSpace[200];
    const Guard* m_pSelf;
};

class DKFile {
public:
    enum { modeWrite = 0x02, modeTruncate = 0x40 };
    virtual ~DKFile() { m_guard.check(); }
    bool open(const char* path, unsigned char mode) {
        m_guard.check();
        m_bOpen = mode == 1 && strstr(path, "/Style.xml") != nullptr;
        return m_bOpen;
    }
    int read(void* data, unsigned int size) {
        if (m_bOpen)
            memcpy(data, style(), size);
        return m_bOpen ? size : 0;
    }
    int write(const void* /*data*/, unsigned int /*size*/) { return 0; }
    long long getLength() const { return m_bOpen ? strlen(style()) : 0; }
    void close() { m_bOpen = false; }

private:
    static const char* style() { return "<s><t key='a'><c id='34' value='5'/></t></s>"; }
    Guard m_guard;
    bool m_bOpen = false;
};

class DKLogger {
public:
    void init(const char* /*path*/, unsigned int /*size*/, unsigned int /*files*/) {}
    void writeLog(const char* /*tag*/, const char* /*text*/) { m_guard.check(); }

private:
    Guard m_guard;
};

class DKMutex {
public:
    virtual ~DKMutex() {}
    virtual void Lock(const char* /*file*/, int /*line*/) { m_guard.check(); }
    virtual void Unlock(const char* /*file*/, int /*line*/) { m_guard.check(); }

private:
    Guard m_guard;
};

struct DKDeviceTime {
    static DKDeviceTime getCurrentTime() { return DKDeviceTime(); }
    Guard guard;
    unsigned short minute = 0, hour = 0;
};

class DravikTime {
public:
    DravikTime(long /*seconds*/, long /*microseconds*/) {}
    static void wait(const DravikTime& time) { time.m_guard.check(); }

private:
    Guard m_guard;
};

class GThread {
public:
    GThread(const std::function<int()>& /*body*/, const std::string& /*name*/,
            const std::function<void()>& /*done*/) {}
    bool start() { return m_guard.check(), true; }
    bool stop() { return m_guard.check(), true; }
    static void emptyFun() {}

private:
    Guard m_guard;
};

class ModuleConfigure {
public:
    int getModuleId() const { return m_guard.check(), m_nId; }
    std::string getLabel() const { return ""; }
    std::string getShortLabel() const { return ""; }
    std::string getParameters() const { return ""; }
    std::string getDetail() const { return m_strDetail; }
    void setModuleId(int id) { m_nId = id; }
    void setLabel(const std::string& /*text*/) {}
    void setShortLabel(const std::string& /*text*/) {}
    void setParameters(const std::string& /*text*/) {}
    void setDetail(const std::string& text) { m_strDetail = text; }

private:
    Guard m_guard;
    std::string m_strDetail;
    int m_nId = 0;
};

class MachineInfo {
public:
    int getDeviceType() const { return m_guard.check(), 1; }
    std::string getModelName() const { return ""; }

private:
    Guard m_guard;
};

struct ModuleConfigureParser {
    static bool parse(const std::string& /*file*/, const std::string& /*type*/,
                      const std::string& /*model*/, std::vector<ModuleConfigure>& /*modules*/) {
        return false;
    }
};

struct SystemInfoParser {
    static bool parseMachineInfo(const std::string& /*path*/, MachineInfo& /*info*/) {
        return true;
    }
};

class DeviceType {
public:
    void setDeviceTypeId(int id) { m_nId = id; }
    int getDeviceTypeId() const { return m_guard.check(), m_nId; }

private:
    Guard m_guard;
    int m_nId = 0;
};

class AVStreamParam {
public:
    int getFrameRate() const { return m_guard.check(), 50; }

private:
    Guard m_guard;
};

struct StringHandler {
    static void split(const std::string& /*text*/, std::vector<std::string>& /*pieces*/,
                      const std::string& /*separator*/) {}
};

inline int sy_system(const char* /*command*/, int /*seconds*/) {
    return 0;
}

enum ia_opt_e {
    IA_CMD_OPT_SET,
    IA_CMD_OPT_GET,
    IA_CMD_OPT_GET_PARAM_RNAGE,
    IA_CMD_OPT_CORRECT_PARAM,
    IA_CMD_OPT_GET_EXEC_STATUS
};
enum ia_error_e { IA_ERR_FAILED = -1, IA_ERR_RANGE = -4, IA_ERR_UNKNOWN_CMD = -5 };
enum ia_cmd_e {
    IA_CMD_DN_STATE = 153,
    IA_CMD_PTZ_RUN_STATE = 1632,
    IA_CMD_AF_STATISTIC = 1648,
    IA_CMD_CAMERA_VERSION = 2496,
    IA_CMD_DYNAMIC_PARAMS_CMDS_GET = 0x1010
};
enum { IA_VERSION_SIZE = 50 };
struct ia_dynamic_params_cmds_st {
    int cmd_cnt;
    int cmd_list[16];
    int reserved[4];
};
struct ia_dynamic_params_attr_st {
    int cur_value, default_value, min_value, max_value, items_cnt, item[64], reserved[4];
};
struct dn_thr_st {
    unsigned int d2n_thr, n2d_thr;
};
struct dn_time_st {
    unsigned int d2n_hour, d2n_min, n2d_hour, n2d_min;
};
extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data);
