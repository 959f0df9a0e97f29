#include "app/Information.h"

namespace {

constexpr char HELP[] = R"(Usage: hciload -VINTORMODE -PORT DEVICE [OPTION]...
       hciload -RULES FILE[@SET] -PORT DEVICE -CONFIG FILE [OPTION]...
       hciload --read AREAS FILE -PORT DEVICE [OPTION]...
       hciload --crc AREAS -PORT DEVICE [OPTION]...
       hciload --check [--json] ARGUMENT...
       hciload --help | --version | --list-ports

Loads code and data into a Bluetooth or NFC controller chip over a serial line.
The first form runs the standard download. The second one runs the custom
download that the rules name, for NFC parts.

What to load, and where to:
  -VINTORMODE           standard download; must be the first argument
  -PORT DEVICE          serial port of the chip; must start with /dev/tty
  -BAUDRATE RATE        accepted and ignored: the line runs at 115200 baud
  -VNP FILE[@SET]       rules (download parameters) of a standard download
  -RULES FILE[@SET]     rules of a custom download
  -MINIDRIVER FILE      loader program to start first; Intel HEX or HCD
  -FIRMWARE FILE        code; Intel HEX; may be repeated
  -CONFIG FILE          configuration data; Intel HEX or HCD; may be repeated.
                        In a custom download: the one NCD file

What to do; these override the rules:
  -ERASE, -NOERASE      erase the chip first, or don't
  -WRITE, -NOWRITE      write the files, or don't (default: write)
  -VERIFY, -NOVERIFY    read everything back, or don't (default: don't)
  -CHECKCRC             have the chip compute a CRC of each memory area
  -NODLMINIDRIVER       do not send the Download Minidriver command
  -DLMINIDRIVERCHUNKSIZE BYTES
                        record size of the minidriver, 1 to 251

What to keep of the run:
  -LOGTO FILE           log of all steps
  -CAPTURETO FILE       every packet with its time, for Wireshark
  -REPORTTO FILE        report of the run as JSON
  -RECORDDLTIME         append the times to ./DLTIMES.TXT

Before all other arguments:
  --check               send nothing; show what the run would do, and what is
                        wrong with its files, rules and options
  --check --json        the same as JSON

  --read AREAS FILE     read the chip's memory into FILE: raw bytes if its name
                        ends in .bin or .raw, else Intel HEX
  --crc AREAS           print the CRC-32 that the chip computes of each area
                        AREAS are FIRST-LAST[,FIRST-LAST]... Both take -PORT,
                        -BAUDRATE, -VNP, -MINIDRIVER, -NODLMINIDRIVER,
                        -DLMINIDRIVERCHUNKSIZE, -LOGTO, -CAPTURETO, -REPORTTO

Alone:
  --help                show this help
  --version             show the version
  --list-ports          show the serial ports of this machine, their lasting
                        names and drivers, who may open them, and who has

Option names may be in lower case and may start with a slash. Without any
argument, an older text is printed, which is kept word for word.

Exit status: 0 after a success, 241 if the download failed, 254 if the port
cannot be opened, 255 if the command line is wrong. Of --check: 0 if nothing
was found, 1 after warnings, 2 after errors.

Try it without a chip:
  chipsim -- hciload -VINTORMODE -PORT /dev/tty -FIRMWARE firmware.hex
)";

std::string DescribePorts([[maybe_unused]] const CSystemFolders& folders) {
#ifdef __linux__
    std::string text;
    for (const CSerialPortInfo& port : ListSerialPorts(folders)) {
        const auto orUnknown = [](const std::string& value) {
            return value.empty() ? std::string("-") : value;
        };
        text += port.m_strName + "\n    lasting name  " + orUnknown(port.m_strLastingName) +
                "\n    driver        " + orUnknown(port.m_strDriver) + "\n    may open it   user " +
                port.m_strOwner + ", group " + port.m_strGroup + " (" + port.m_strMode +
                (port.m_bMayOpen ? "), you" : "), not you") + "\n    held by       " +
                orUnknown(port.m_strHolders) + "\n";
    }
    return text.empty() ? "This machine has no serial port.\n" : text;
#else
    return "--list-ports needs Linux.\n";
#endif
}

}  // namespace

std::optional<std::string> MakeInformation(int argc, char** argv, const std::string& version,
                                           const CSystemFolders& folders) {
    const std::string only = argc == 2 ? argv[1] : "";
    if (only == "--help") {
        return HELP;
    }
    if (only == "--version") {
        return "hciload " + version + "\n";
    }
    if (only == "--list-ports") {
        return DescribePorts(folders);
    }
    return {};
}
