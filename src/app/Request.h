#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/BooleanOptions.h"
#include "image/ChipImageLoadingInformation.h"
#include "image/MemoryReadout.h"

// What one command line asks for.
struct CRequest {
    std::string m_strTransportParameters;  // one " NAME=value" line for each parameter of the link
    std::string m_strPort;
    std::string m_strBaudRate;
    CChipDownloadDescriptor m_Descriptor;
    std::vector<std::string> m_Inputs;  // every file to be read
    std::string m_strCaptureFile;       // "" = no capture
    std::string m_strReportFile;        // "" = no report
    bool m_bVintorMode = false;
    bool m_bIssueDownloadMinidriver = true;
    std::string m_strVnpFileName;
    BooleanOptions m_Erase = OPTION_UNSET;
    BooleanOptions m_Write = OPTION_UNSET;
    BooleanOptions m_Verify = OPTION_UNSET;
    BooleanOptions m_CheckCRC = OPTION_UNSET;
    unsigned int m_nMinidriverChunkSize = 0;     // 0 = no override
    std::shared_ptr<CMemoryReadout> m_pReadout;  // of --read and --crc; null = a download
    std::string m_strMemoryFile;                 // of --read
};

// The procedure that downloads in place of the standard sequence; null without one.
const char* CustomDownloadType(const CRequest& request);

// What is to be loaded and how, according to the request.
CChipImageLoadingInformation DescribeDownload(const CRequest& request);
