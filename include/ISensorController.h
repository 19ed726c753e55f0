#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "DKMutex.h"
#include "ImgctlExport.h"
#include "SensorKeys.h"
#include "SensorTypes.h"

class GThread;
class ModuleConfigure;
class VideoStreamModule;

/// Rows of the key-command map: what init allocates until it has filled the map, then what a lookup
/// scans (87). Read it as g_pKeyCmdMap.
extern IMGCTL_API int g_nKeyCmdNum;

/// First row of the key-command map of the controller initialised last; null before the first init.
/// Its rows never change, and stay until that controller is destroyed. Any thread may read it once
/// init has returned, also during resetParameters, which leaves pointer, number and rows untouched.
extern IMGCTL_API keycmd* g_pKeyCmdMap;

/// Notification codes for the video-stream module that differ from the key that was set.
enum {
    NOTIFY_WDR_SWITCH = 2370,     ///< 0 before, 1 after a change of the wide-dynamic-range mode
    IA_CMD_UI_MIRROR = KEY_MIRROR ///< the mirror state that results from mirror and turned-away
};

/// The image-sensor parameter controller: every image parameter of the camera is read and changed
/// through the one object of this class.
///
/// Parameters live in schemes, complete sets of values. Schemes 0 .. nSchemeSum - 1 are timed: each
/// has a daily window (keys 8000 .. 8004) and a file. Scheme nSchemeSum is the default scheme, in
/// force outside every window; it holds the factory values and is never saved. A worker thread
/// switches between them once a second.
///
/// Threads. Members marked [locks] take the controller's lock for the length of their work and may
/// be called by any thread. Those marked [locks, one scheme] apply or correct values, and are kept
/// apart from switches too, whoever makes them: they wait until no switch is under way, looking
/// every few milliseconds of real time whatever the device's clock does, and no switch begins until
/// they end. A switch that came due meanwhile goes before the next of them. A layer that hangs
/// holds nobody up: when no call of it has returned for one second of real time, a waiting member
/// goes on all the same, and the worker thread ends its pass. Members marked [no lock] may be
/// called by any thread too; they act on values as they stand and are not kept apart from other
/// calls. init, uinit and the destructor are called by one thread, with no other call under way;
/// resetParameters does the same work under the lock. The image-adjust layer and the video module
/// must not call a [locks] member, switch_to, LPR_switch_to, init or uinit from within their own
/// calls: they would wait for themselves.
///
/// Every member is safe before init and after uinit: nothing is in the arrays then, reads go to the
/// image-adjust layer, and schemes are empty.
///
/// Memory. The constructor throws std::bad_alloc without memory; nothing else throws. A step that
/// gets no memory later is reported ("no std::bad_alloc") and counts as failed: a style or text is
/// then empty, and a bool result false.
///
/// Failures are reported (see SensorDebug.h), and most operations then go on. Codes: 0
/// (SNS_SUCCESS); negative codes of the image-adjust layer, passed on unchanged; 505, 506, 507 for
/// a time window whose start, end or order is wrong.
class IMGCTL_API ISensorController {
public:
    ISensorController();
    ~ISensorController();
    ISensorController(const ISensorController&) = delete;
    ISensorController& operator=(const ISensorController&) = delete;

    // Start-up and shut-down
    // ------------------------------------------------------------------------

    /// Starts the controller: reads configuration and style, loads the scheme files (makes those
    /// that are missing, or all when their version differs), brings the current scheme into force,
    /// and starts the worker thread. Takes a second of device time. Call setVideoStreamModule
    /// before. A controller that is running is shut down first.
    /// @return true; what fails on the way is reported
    bool init(const ModuleConfigure& p_objModuleConfigure);

    /// Stops the worker thread and releases what init took. Scheme and mode go back to -1 and 1.
    void uinit();

    /// @return the module id of the sensor module. [no lock]
    int getSensorType();

    /// @return true once init has run, also after uinit. [no lock]
    bool getSensorStatus();

    /// Sets the application's video-stream module, or null for none. It stays the application's and
    /// must outlive its use here. [no lock]
    void setVideoStreamModule(const VideoStreamModule* p_pModule);

    // Schemes and modes
    // -----------------------------------------------------------------------------

    /// Switches to a scheme, applying the values that differ. Waits, in steps of half a second of
    /// device time, while a switch, a reset or a restore is under way. In mode 1 the worker thread
    /// may switch back at its next pass. [locks]
    /// @param p_nScheme  0 .. nSchemeSum; another number is reported and becomes current all
    ///                   the same, with no values
    /// @return true
    bool setParamScheme(int p_nScheme);

    /// @param nScheme  receives the current scheme; -1 before the first switch. [locks]
    /// @return true
    bool getParamScheme(int& nScheme);

    /// Sets whether the worker thread switches schemes. Waits like setParamScheme. [locks]
    /// @param p_nMode  0 no, 1 yes; another number is reported and means yes
    /// @return true
    bool setParamMode(int p_nMode);

    /// @param nMode  receives the mode. [locks] @return true
    bool getParamMode(int& nMode);

    /// Makes a scheme current and applies it. Waits like setParamScheme, and for the end of a
    /// member marked [locks, one scheme]. [no lock]
    /// @param nScheme    as of setParamScheme, not checked
    /// @param bApplyAll  true: every value is applied, none recorded; false: values that differ
    ///                   from those in force are applied and recorded
    /// @return SNS_SUCCESS, also when a value could not be applied (which is reported)
    int switch_to(int nScheme, bool bApplyAll);

    /// Makes a scheme current and applies all of it, with KEY_DN_MODE as 0, so that the day/night
    /// state goes on deciding. Waits like switch_to. [no lock]
    /// @return SNS_SUCCESS
    int LPR_switch_to(int nScheme);

    /// Finds the scheme whose window holds the device's time of day; the
    /// lowest number wins. [no lock]
    /// @param nScheme    receives the scheme; nSchemeSum outside every window
    /// @param nSchedule  receives 1 inside a window, else 0
    /// @return SNS_SUCCESS
    int judgeCurScheme(int& nScheme, int& nSchedule);

    /// Checks the time window of the current scheme. [no lock]
    /// @return SNS_SUCCESS; 505 start after 24:00; 506 end after 24:00; 507 start not before end
    int paramCheck();

    /// One pass of the worker thread: pauses a second, then switches if it is time. A pass that
    /// begins during a reset does neither. A switch that is due while values are being applied goes
    /// as soon as they are: a member marked [locks, one scheme] holds it up as long as it takes, a
    /// list of records less than a second. [no lock]
    /// @return 0
    int sensorThread();

    // Saving, restoring, resetting
    // ------------------------------------------------------------------

    /// Saves the current timed scheme to its file; the default scheme has none. [locks]
    /// @return SNS_SUCCESS, also when nothing was to be saved or writing failed (which is
    ///         reported); 505, 506, 507 for a wrong time window, nothing is written then
    int flush();

    /// Applies one value of the current scheme again, as it stands in memory, which a handler does
    /// not change. [locks, one scheme]
    /// @return 0; -1 when the key is not in the scheme (reported), or what setParameters gives
    int restore(int p_nKey);

    /// Restores the exposure mode, then the focus mode. [locks, one scheme, for each]
    /// @return true when both succeeded
    bool restoreAeMode();

    /// Applies what was last saved for the current scheme and records it. [locks, one scheme]
    /// @return true when all of it was applied, or when the default scheme is current
    bool resetToLastParameters();

    /// Throws every saved scheme away and starts again with the factory values and a freshly read
    /// configuration. The current scheme's number is 0 afterwards. Takes a second. [locks]
    /// @return true
    bool resetParameters();

    // Parameters as records
    // -------------------------------------------------------------------------

    /// Applies a list of parameters in order, up to the first that fails. During a switch, a value
    /// of the scheme that is being left may pass for one in force, and what the switch applies next
    /// may undo a value: whoever needs one scheme uses the text form or setParameter. [no lock]
    /// @param p_pKeyval     the records; a handler may change a value in place
    /// @param p_nKeyValNum  number of records
    /// @param p_bUpdate     true: skip values already in force and record the applied ones in the
    ///                      current scheme (the default scheme records nothing); false: apply only.
    ///                      Keys 8000 .. 8004 are recorded but never applied
    /// @return 0; minus the key of the record whose handler failed (0 for key 0)
    int setParameters(KeyVal* p_pKeyval, u32 p_nKeyValNum, bool p_bUpdate);

    /// Writes a value into a scheme's array, without applying it. [no lock]
    /// @param p_bDefault  true allows the default scheme too
    /// @return the index written; -1 when the key is not in the array; -2 when p_bDefault is false
    ///         and the scheme is not a timed one
    int setKeyValToCache(unsigned int p_nScheme, unsigned int p_nKey, unsigned int p_nValue,
                         bool p_bDefault);

    /// Reads a value from a scheme's array. [no lock]
    /// @return the index read; -1 when there is no such scheme or key, p_nValue is then untouched
    int getKeyValFromCache(unsigned int p_nScheme, unsigned int p_nKey, unsigned int& p_nValue);

    /// @return true when the scheme in force (during a switch: the one being left)
    ///         holds this value. [no lock]
    bool isKeyValNewest(const KeyVal& p_stKeyVal);

    /// Finds a key in a map of g_nKeyCmdNum rows. [no lock]
    /// @param p_stKeyCmd  receives the row; untouched when there is none
    /// @return the row's index, or -1
    int findFromKeyCmdMap(const keycmd* p_pKeyCmdMap, unsigned int p_nKey, keycmd& p_stKeyCmd);

    // Single parameters
    // -----------------------------------------------------------------------------

    /// Applies one parameter; b is setParameters' p_bUpdate. [locks, one scheme]
    /// @return as setParameters
    int setParameter(int key, int value, bool b);

    /// Reads one parameter: from the current scheme, else from the image-adjust layer. [locks]
    /// @return true; false when the layer refused, which is reported
    bool getParameter(int p_nKey, int& p_nVal);

    /// Reads KEY_MIRROR. [locks] @return as getParameter, as 1 or 0
    int getMirrorValue(int& v);

    // Lens and camera
    // -------------------------------------------------------------------------------
    // Straight to the image-adjust layer, never recorded. [no lock] All return true (getZoomValue
    // 1) on success, and false (0) when the layer refused.

    bool focusFar();  ///< manual focus, then a step to far
    bool focusNear(); ///< manual focus, then a step to near
    bool irisUp();    ///< manual iris, then a step open
    bool irisDown();  ///< manual iris, then a step closed
    bool zoomIn();    ///< a step towards tele
    bool zoomOut();   ///< a step towards wide

    bool setZoomValue(int v); ///< moves the zoom to a raw motor position

    /// @param pos    receives the raw motor position
    /// @param ratio  receives the optical ratio in thousandths, 1000 .. 16000; untouched beyond
    ///               position 31424, and on failure
    int getZoomValue(int& pos, int& ratio);

    bool setPTZRunState(int v); ///< tells the layer whether the pan-tilt head moves (1) or not
    bool setFocusValue(int v);  ///< moves the focus to a raw motor position
    bool getFocusValue(int& v); ///< raw motor position
    bool setFocusMode(int v);   ///< value of KEY_AUTO_FOCUS_MODE
    bool getFocusMode(int& v);  ///< value of KEY_AUTO_FOCUS_MODE
    bool getDNMode(int& nMode); ///< day/night state: 0 day, otherwise night
    bool getAFStatistic(unsigned int& v); ///< sharpness figure; higher is sharper
    bool getWDR(int& v);                  ///< wide-dynamic-range mode in force
    bool getCameraVerInf(std::string& s); ///< version text, at most 50 bytes

    // Parameters as text
    // ----------------------------------------------------------------------------

    /// Applies "(key,value)" pairs, as many as a scheme has records. [locks, one scheme]
    /// @return as the record form
    int setParameters(const std::string& p_strParameters, bool p_bUpdate);

    /// Appends all of the current scheme to a text as "(key,value)" pairs, after the image-adjust
    /// layer has corrected the values of its restricted commands in the scheme. [locks, one scheme]
    /// @return true
    bool getAllParameters(std::string& p_strParameters);

    /// Answers a query such as "(34,2337)" with "(key,value)" pairs in the query's order; keys that
    /// cannot be read are left out. Locks once for each key. [locks]
    /// @param p_strParameters  receives the answer; untouched when the query is malformed
    /// @return true; false for a malformed query
    bool getParameters(const std::string& p_strIds, std::string& p_strParameters);

    /// Cuts a query into its keys, which are appended to the list. [no lock]
    /// @return true; false for a malformed query
    bool parseSensorParameter(const std::string& p_strIds, std::vector<std::string>& p_vecIds);

    // User-interface texts
    // --------------------------------------------------------------------------

    /// @return the style (XML), pruned for this sensor as it is now. [locks]
    std::string getUIStyleFile();

    /// @return the language text of that language, else of the first entry; empty
    ///         without a table. [locks]
    std::string getUILanguageFile(int languageId);

    /// @return the common text of that language, else of the first entry; empty
    ///         without a table. [locks]
    std::string getUICommonFile(int languageId);

    // Handlers
    // --------------------------------------------------------------------------------------
    // Each applies (opt 0) or reads (opt 1) one image-adjust command. [no lock] cmd is the command,
    // opt the option, data the 32-bit value (or record) for it. They return 0 or the failure code
    // of the layer or the video module.

    /// Forwards to the image-adjust layer and traces.
    int doIaCmd(unsigned int cmd, unsigned int opt, void* data);
    /// The same; while init, a reset, a restore or a switch is under way it
    /// does nothing and gives 0.
    int doIaCmd_User(unsigned int cmd, unsigned int opt, void* data);
    /// Asks how far a command is. @param status  receives it. @return 1; 0 when the layer refused
    int getCmdExecStatus(int cmd, int& status);

    int doHwdr(u32 p_nKey, u32 p_nDir, void* p_pVal);        ///< wide dynamic range
    int doDIS(u32 p_nKey, u32 p_nDir, void* p_pVal);         ///< anti-shake
    int doImageAdjust(u32 p_nKey, u32 p_nDir, void* p_pVal); ///< image offset
    int doMirror(u32 p_nKey, u32 p_nDir, void* p_pVal);      ///< mirror, with regard to turned-away
    int doBeaway(u32 p_nKey, u32 p_nDir, void* p_pVal);      ///< turned-away, with regard to mirror
    int doDNThr(u32 p_nKey, u32 p_nDir, void* p_pVal);       ///< day/night thresholds, as a record
    int doDNTime(u32 p_nKey, u32 p_nDir, void* p_pVal);      ///< day/night times, as a record

    /// Tells the video module. @return its answer; 0 without a module. [no lock]
    int notifyToVideo(int p_nKey, int p_nValue);

    /// Calls setshowWDRFalg (see SensorWdrFlag.h). [no lock]
    void setShowWDRFalg(bool p_bShow);

    /// Does nothing. [no lock]
    void printDebugMsg();

private:
    struct Storage;
    class BatchMark;
    class Request;

    /// Bits of m_nFlags. Above them counts the batches that hosts are applying.
    enum : u32 {
        init_flag = 1u << 0,
        uinit_flag = 1u << 1,
        status_flag = 1u << 2,
        resetting_flag = 1u << 3,
        restoring_flag = 1u << 4,
        switching_flag = 1u << 5,
        switch_due = 1u << 6,   ///< a switch waits; the next request lets it go first
        request_flag = 1u << 7, ///< a member that holds the lock is applying values
        busy_flags = resetting_flag | restoring_flag | switching_flag,
        user_blocking_flags = init_flag | busy_flags,
        host_batch = 1u << 8,
        any_batch = ~(host_batch - 1u) | request_flag,
    };

    bool isBusy() const { return (m_nFlags & busy_flags) != 0; }
    IMGCTL_LOCAL u32 claim(u32 p_nFlag, u32 p_nUnlessSet);
    IMGCTL_LOCAL void claimSwitchInTurn();
    IMGCTL_LOCAL bool switchIfDue(u32 p_nBatches);
    IMGCTL_LOCAL void waitWhileBusy();
    IMGCTL_LOCAL int switchClaimed(int nScheme, bool bApplyAll);
    IMGCTL_LOCAL void switchClaimedLPR(int nScheme);
    IMGCTL_LOCAL int paramCheck(u32 nScheme);
    IMGCTL_LOCAL u32 windowValue(u32 p_nScheme, u32 p_nPosition) const;

    IMGCTL_LOCAL KeyVal* schemeArray(u32 p_nScheme) const;
    IMGCTL_LOCAL int callHandler(const keycmd& p_stRow, bool p_bKnown, u32& p_nValue);
    IMGCTL_LOCAL u32 cachedOrZero(u32 p_nKey);

    IMGCTL_LOCAL void fillSchemes(const KeyVal* p_pFactory, u32 p_nSchemeSum);
    IMGCTL_LOCAL void createSchemeFile(u32 p_nScheme, char* p_szName);
    IMGCTL_LOCAL void loadSchemeFile(u32 p_nScheme, char* p_szName);
    IMGCTL_LOCAL int saveScheme(char* p_szName, const KeyVal* p_pArray);
    IMGCTL_LOCAL void buildKeyCmdMap();
    IMGCTL_LOCAL void updateWDRShowFlag();

    IMGCTL_LOCAL bool setCommand(u32 p_nCmd, int p_nValue);
    IMGCTL_LOCAL bool getCommand(u32 p_nCmd, void* p_pValue);

    DKMutex m_mutex;
    std::unique_ptr<GThread> m_pSensorThread;
    std::atomic<int> m_nLastScheme{-1};
    std::atomic<int> m_nCurScheme{-1};
    std::atomic<int> m_nParamMode{1};
    std::atomic<KeyVal**> m_ppUserKeyVal{
        nullptr};                     ///< one array a scheme, the default scheme's last
    KeyVal* m_pstKeyValTmp = nullptr; ///< scratch of whoever holds the lock
    KeyVal* m_pFctKeyVal = nullptr;   ///< the default scheme's array
    std::atomic<u32> m_nKeyValSum{0}; ///< records a scheme
    std::atomic<KeyVal*> m_pstKeyValLPR{
        nullptr}; ///< scratch of whoever holds switching_flag, and of init
    std::atomic<keycmd*> m_pKeyCmdMap{nullptr};
    const u32 m_nVersion = 8; ///< of the layout of the scheme files
    std::atomic<const VideoStreamModule*> m_pVideoStreamModule{nullptr};
    std::atomic<u32> m_nFlags{0};
    std::atomic<u32> m_nLayerReturns{0};   ///< changes with each call of the layer that returns
    std::atomic<int> m_nLastSchedule{255}; ///< 255: none yet
    std::atomic<bool> m_bDayNightSchemes{false};
    std::unique_ptr<Storage> m_pStorage;
};
