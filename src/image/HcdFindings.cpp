#include "image/HcdFindings.h"

#include <memory>

#include "image/AddressOccupancy.h"
#include "image/BinaryScan.h"
#include "image/HcdFile.h"
#include "util/FormatText.h"

namespace {

using enum FindingSeverity;

class CHcdScan : private CBinaryScan {
public:
    using CBinaryScan::CBinaryScan;

    std::vector<CFinding> Run() {
        unsigned int address = 0;
        unsigned int size = 0;
        unsigned char data[HCD_MAX_DATA_SIZE];
        bool isLaunch = false;
        std::string error;
        while (MarkPosition() &&
               ReadNextHCDRecord(m_pFile, &address, &size, data, &isLaunch, &error)) {
            if (isLaunch) {
                TakeLaunch(size);
            } else {
                TakeWrite(address, size);
            }
        }
        AddEnd(error);
        if (error.empty() && !m_bHasData) {
            AddNoData();
        } else if (error.empty() && m_nLaunches == 0) {
            Add(WARNING, std::nullopt, "There is no launch record",
                "The file may have been cut short; as a configuration it launches the chip at 0");
        }
        return std::move(m_Findings);
    }

private:
    void TakeLaunch(unsigned int dataSize) {
        if (dataSize != 0) {
            Add(WARNING, m_nPosition, "A launch record with data", "The data are ignored");
        }
        if (++m_nLaunches == 2) {
            Add(WARNING, m_nPosition, "A second launch record", "Only the last one counts");
        }
    }

    void TakeWrite(unsigned int address, unsigned int size) {
        m_bHasData = m_bHasData || size != 0;
        if (size == 0) {
            Add(WARNING, m_nPosition, "A write record without data", "It loads nothing");
        } else if (std::uint64_t{address} + size > std::uint64_t{1} << 32) {
            Add(ERROR, m_nPosition, "Data run beyond 4 GiB",
                "Addresses wrap, so they load at address 0 and up");
        } else if (m_Occupied->Take(address, size)) {
            Add(WARNING, m_nPosition, FormatText("Data for 0x%08X overlap earlier data", address),
                "The later data win; where they differ, reading back the earlier ones fails");
        }
    }

    void AddNoData() {
        if (m_nLaunches == 0) {
            Add(ERROR, std::nullopt, "The file loads nothing",
                "As a configuration it is taken without an error, and the chip is launched at 0");
        } else {
            Add(WARNING, std::nullopt, "The file loads nothing", "It only names a launch address");
        }
    }

    std::unique_ptr<CAddressOccupancy> m_Occupied = std::make_unique<CAddressOccupancy>();
    bool m_bHasData = false;
    unsigned int m_nLaunches = 0;
};

}  // namespace

std::vector<CFinding> FindInHcdFile(std::FILE* file, const std::string& name) {
    return CHcdScan(file, name).Run();
}
