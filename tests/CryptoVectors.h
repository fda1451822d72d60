// Hex helpers and the random vectors the openssl command wrote for the crypto tests.
#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

typedef std::vector<unsigned char> TBytes;

inline TBytes FromHex(const std::string& hex)
{
    TBytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

inline std::string ToHex(const unsigned char* data, std::size_t length)
{
    static const char k_szDigits[] = "0123456789abcdef";
    std::string hex;
    for (std::size_t i = 0; i < length; ++i)
        hex += std::string{k_szDigits[data[i] >> 4], k_szDigits[data[i] & 15]};
    return hex;
}

inline std::string ToHex(const TBytes& bytes)
{
    return ToHex(bytes.data(), bytes.size());
}

// One line of the file: its name (aes-128-cbc, sha256 ...) and its hex fields, "-" for none.
struct SCryptoVector
{
    std::string m_sName;
    std::vector<TBytes> m_oFields;
};

// The lines whose name starts with prefix. Empty when CTest did not name the file.
inline std::vector<SCryptoVector> LoadCryptoVectors(const std::string& prefix, bool& named)
{
    std::vector<SCryptoVector> vectors;
    const char* path = std::getenv("CPPUTIL_CRYPTO_VECTORS");
    named = path != nullptr;
    if (!named)
        return vectors;
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line))
    {
        std::istringstream fields(line);
        SCryptoVector vector;
        fields >> vector.m_sName;
        if (vector.m_sName.compare(0, prefix.size(), prefix) != 0)
            continue;
        std::string field;
        while (fields >> field)
            vector.m_oFields.push_back(field == "-" ? TBytes() : FromHex(field));
        vectors.push_back(vector);
    }
    return vectors;
}
