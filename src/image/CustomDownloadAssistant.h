#pragma once

#include <atomic>
#include <string>
#include <utility>

class CChipDownloader;
class CChipImageLoadingInformation;

// Downloads to a family of chips that the standard sequence does not serve. The loading information
// has it made and prepared, and shares it with its copies by reference count.
//
// DownloadPrepare runs on the thread that prepares the download, ExecuteDownload on the download
// thread; any thread may change the reference count.
class CCustomDownloadAssistant {
public:
    // Images are added to the owner, which outlives the assistant's use.
    explicit CCustomDownloadAssistant(CChipImageLoadingInformation* owner) : m_pOwner(owner) {}
    CCustomDownloadAssistant(const CCustomDownloadAssistant&) = delete;
    CCustomDownloadAssistant& operator=(const CCustomDownloadAssistant&) = delete;
    virtual ~CCustomDownloadAssistant() = default;

    // Loads the images and sets the chip's mode. Returns an error text, empty on success.
    [[nodiscard]] virtual std::string DownloadPrepare(CChipDownloader* downloader) = 0;

    // Always 0: the outcome is the downloader's state and error.
    virtual unsigned int ExecuteDownload(CChipDownloader* downloader) = 0;

    // Both return the new count. The caller that gets 0 deletes the object.
    unsigned int IncRefCount() { return ++m_nRefCount; }
    unsigned int DecRefCount() { return --m_nRefCount; }

protected:
    CChipImageLoadingInformation* Owner() const { return m_pOwner; }

private:
    CChipImageLoadingInformation* m_pOwner;
    std::atomic<unsigned int> m_nRefCount = 1;
};

// Holds one counted reference to an assistant, or none.
class CCustomDownloadAssistantRef {
public:
    CCustomDownloadAssistantRef() = default;
    // Takes over the reference that a new assistant starts with.
    explicit CCustomDownloadAssistantRef(CCustomDownloadAssistant* made) : m_pAssistant(made) {}
    CCustomDownloadAssistantRef(const CCustomDownloadAssistantRef& other)
        : m_pAssistant(other.m_pAssistant) {
        if (m_pAssistant != nullptr) {
            m_pAssistant->IncRefCount();
        }
    }
    CCustomDownloadAssistantRef& operator=(CCustomDownloadAssistantRef other) noexcept {
        std::swap(m_pAssistant, other.m_pAssistant);
        return *this;
    }
    ~CCustomDownloadAssistantRef() {
        if (m_pAssistant != nullptr && m_pAssistant->DecRefCount() == 0) {
            delete m_pAssistant;
        }
    }

    CCustomDownloadAssistant* Get() const { return m_pAssistant; }

private:
    CCustomDownloadAssistant* m_pAssistant = nullptr;
};

// Makes the assistant for a custom download type, compared without regard to case. Null for a type
// that nobody serves.
using CustomDownloadAssistantMaker =
    CCustomDownloadAssistant* (*)(const char* type, CChipImageLoadingInformation* owner);
