#include "transport/SerialConnectorFactory.h"

#include <cstring>
#include <memory>

#include "transport/UARTConnector.h"
#include "util/ByteBuffer.h"
#include "util/TextCase.h"

namespace {

constexpr std::size_t TEXT_SEARCHED = 512;

// Searches the text, not the parsed parameters: with spaces around "=", no port is found.
std::unique_ptr<CSerialConnector> MakeConnectorFor(const char* paramText) {
    const std::string start = UpperCaseCopy({paramText, strnlen(paramText, TEXT_SEARCHED)});
    if (start.find("PORT=/DEV/TTY") == std::string::npos) {
        return nullptr;
    }
    return std::make_unique<CUARTConnector>();
}

std::string ParseAndConnect(CSerialConnector& connector, const char* paramText) {
    CCommunicationParameters params;
    const std::string parseError = params.ParseCommParams(paramText);
    return parseError.empty() ? connector.Connect(params, nullptr, nullptr) : parseError;
}

}  // namespace

CSerialConnector* CreateSerialConnector(const char* paramText, std::string* errorText,
                                        CByteBuffer* transportInfo) {
    return CreateSerialConnector(paramText, errorText, transportInfo, nullptr);
}

CSerialConnector* CreateSerialConnector(const char* paramText, std::string* errorText,
                                        CByteBuffer* transportInfo, CLineObserver* observer) {
    errorText->clear();
    if (paramText == nullptr || *paramText == 0) {
        return nullptr;
    }
    std::unique_ptr<CSerialConnector> connector = MakeConnectorFor(paramText);
    if (connector == nullptr) {
        *errorText = "Failed to recognize the connection transport";
        return nullptr;
    }
    connector->SetObserver(observer);
    *errorText = ParseAndConnect(*connector, paramText);
    if (!errorText->empty()) {
        return nullptr;
    }
    if (transportInfo != nullptr) {
        unsigned char uartMark = 0x01;
        transportInfo->AssignData(&uartMark, 1, BYTE_BUFFER_OWNED);
    }
    return connector.release();
}
