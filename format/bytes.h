// Little-endian numbers in byte buffers, byte by byte: no alignment, no host
// order. Every number of the file is decoded and encoded here.
#pragma once

#include <cstdint>
#include <cstring>

inline int32_t loadInt16(const uint8_t* bytes)
{
    return static_cast<int16_t>(static_cast<uint16_t>(bytes[0] | (bytes[1] << 8)));
}

inline uint32_t loadUint32(const uint8_t* bytes)
{
    return static_cast<uint32_t>(bytes[0]) | (static_cast<uint32_t>(bytes[1]) << 8) |
           (static_cast<uint32_t>(bytes[2]) << 16) | (static_cast<uint32_t>(bytes[3]) << 24);
}

inline int32_t loadInt32(const uint8_t* bytes) { return static_cast<int32_t>(loadUint32(bytes)); }

// Keeps the low 16 bits.
inline void storeInt16(uint8_t* bytes, int32_t value)
{
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(static_cast<uint32_t>(value) >> 8);
}

inline void storeUint32(uint8_t* bytes, uint32_t value)
{
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
    bytes[2] = static_cast<uint8_t>(value >> 16);
    bytes[3] = static_cast<uint8_t>(value >> 24);
}

inline void storeInt32(uint8_t* bytes, int32_t value)
{
    storeUint32(bytes, static_cast<uint32_t>(value));
}

inline uint64_t loadUint64(const uint8_t* bytes)
{
    return loadUint32(bytes) | (static_cast<uint64_t>(loadUint32(bytes + 4)) << 32);
}

inline void storeUint64(uint8_t* bytes, uint64_t value)
{
    storeUint32(bytes, static_cast<uint32_t>(value));
    storeUint32(bytes + 4, static_cast<uint32_t>(value >> 32));
}

inline double loadDouble(const uint8_t* bytes)
{
    uint64_t bits = loadUint64(bytes);
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline void storeDouble(uint8_t* bytes, double value)
{
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    storeUint64(bytes, bits);
}
