#include <cstdio>
#include <memory>
#include <string>

#include "app/DownloadRun.h"
#include "image/ChipImageLoadingInformation.h"
#include "transport/SerialConnector.h"
#include "transport/SerialConnectorFactory.h"

// load PORT FILE: loads firmware into the chip on a port and reads it back.
int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    std::string error;
    const std::string port = std::string("PORT=") + argv[1] + "\n";
    const std::unique_ptr<CSerialConnector> connector(
        CreateSerialConnector(port.c_str(), &error, nullptr));
    if (connector != nullptr) {
        CChipImageLoadingInformation info(nullptr, nullptr, argv[2]);
        info.SetNeedToVerify(true);
        error = PerformDownload(info, connector.get());
    }
    std::puts(error.empty() ? "loaded and read back" : error.c_str());
    return error.empty() ? 0 : 1;
}
