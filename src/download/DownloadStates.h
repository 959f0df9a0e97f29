#pragma once

// The states of a download, compared and printed as numbers: 1 to 9 count as running, 10 to 12 are
// final.
enum DownloadStates : int {
    DOWNLOAD_UNINITIALIZED = 0,
    DOWNLOAD_INITIALIZED = 1,
    DOWNLOAD_LOADING_MINIDRIVER = 2,
    DOWNLOAD_ERASING_CHIP = 3,
    DOWNLOAD_READY_TO_DOWNLOAD = 4,
    DOWNLOAD_LOADING_CODE = 5,
    DOWNLOAD_LOADING_DATA = 6,
    DOWNLOAD_READY_TO_VERIFY = 7,
    DOWNLOAD_VERIFYING_CODE = 8,
    DOWNLOAD_VERIFYING_DATA = 9,
    DOWNLOAD_COMPLETED = 10,
    DOWNLOAD_TERMINATED_WITH_ERROR = 11,
    DOWNLOAD_CANCELED = 12,
};

inline bool IsRunningState(DownloadStates state) {
    return state >= DOWNLOAD_INITIALIZED && state <= DOWNLOAD_VERIFYING_DATA;
}

inline bool IsFinalState(DownloadStates state) {
    return state >= DOWNLOAD_COMPLETED && state <= DOWNLOAD_CANCELED;
}
