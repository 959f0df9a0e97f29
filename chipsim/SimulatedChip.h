#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <thread>

#include "chipsim/ChipEngine.h"
#include "chipsim/PacedInput.h"
#include "chipsim/PacedOutput.h"
#include "chipsim/PortLink.h"
#include "chipsim/PseudoTerminal.h"

// A chip on a pseudo-terminal, run by its own thread from Start to Stop.
//
// For one thread, but for HasHungUp.
class CSimulatedChip {
public:
    // The observer runs on the chip's thread. line, which may be null, is told of the bytes.
    explicit CSimulatedChip(const CHIP_SETTINGS& settings, CHIP_OBSERVER observer = {},
                            CLineObserver* line = nullptr);
    CSimulatedChip(const CSimulatedChip&) = delete;
    CSimulatedChip& operator=(const CSimulatedChip&) = delete;
    ~CSimulatedChip();

    // Opens the port and starts the chip, once in the object's life. linkPath, when not empty, is
    // a second name for the port, such as /dev/ttySIM0, until Stop or until the port hangs up. The
    // error text, empty on success.
    std::string Start(const std::string& linkPath = {});

    // Ends the thread and closes the port.
    void Stop();

    // What a user of the chip opens: the link when there is one. Valid from Start on.
    std::string PortPath() const;

    // Whether the chip itself closed the port.
    bool HasHungUp() const { return m_bHungUp; }

    // Only before Start and after Stop.
    CSparseMemory& Memory() { return m_Engine.Memory(); }

private:
    void Run();
    void TakeInput(LineTime now);
    void DropCutPacket(LineTime now);
    void WriteOutput(LineTime now);
    void HangUp();
    void WaitForWork();
    std::optional<LineTime> NextDue(LineTime now) const;
    void WakeUp();

    CLineObserver* const m_pLine;
    CPseudoTerminal m_Terminal;
    CPortLink m_Link;
    CFileDescriptor m_Wake;
    std::thread m_Thread;
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bHungUp{false};

    // The chip's thread only, while it runs.
    CPacedInput m_Input;
    CPacedOutput m_Output;
    CChipEngine m_Engine;
    LineTime m_nLastInput = 0;
    bool m_bTerminalFull = false;
};
