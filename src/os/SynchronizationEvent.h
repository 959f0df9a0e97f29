#pragma once

// An event as the rest of the system sees it. Any thread may call any operation.
class CSynchronizationEvent {
public:
    virtual ~CSynchronizationEvent() = default;

    // timeoutMs: milliseconds, 0x7FFFFFFF = no limit. True when woken by a signal, false when the
    // time was up or the wait failed.
    virtual bool WaitForSignal(unsigned int timeoutMs) = 0;
    virtual void SetEvent() = 0;
};
