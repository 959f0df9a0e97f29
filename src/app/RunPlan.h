#pragma once

#include <string>
#include <vector>

#include "app/Request.h"
#include "util/JsonText.h"

// An image file of a run and what sending it takes.
struct CPlannedFile {
    std::string m_strKind;  // "minidriver", "firmware", "configuration"
    std::string m_strName;
    const CChipImageByteData* m_pImage;
    unsigned int m_nRecords = 0;
    unsigned int m_nRefusedSize = 0;  // of the first record that the chip refuses; 0 = none
    bool m_bStalls = false;           // sends empty records for ever
};

// What a run would do, as far as it goes before it fails.
struct CRunPlan {
    std::string m_strKind;  // "standard", "custom", or "no" download
    std::string m_strPort;
    std::string m_strMemory;
    std::vector<std::string> m_Phases;
    std::vector<CPlannedFile> m_Files;
    unsigned int m_nLaunchAddress = 0;  // of a standard download
    double m_dSeconds = 0;              // on the line
    std::string m_strError;             // why the run would fail before it writes anything

    std::string Text() const;
    CJsonText Json() const;
};

// Where the download launches a minidriver.
unsigned int MinidriverLaunchAddress(const CChipImageByteData& image);

// Plans the run of a request from its images, which info holds once it is prepared and keeps;
// error is what the preparation returned.
CRunPlan MakeRunPlan(const CRequest& request, const CChipImageLoadingInformation& info,
                     const std::string& error);
