#include "service/bounded_reply.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TProtocolDecorator.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TTransportException.h>
#include <thrift/transport/TVirtualTransport.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace CorvelService {

using apache::thrift::TConfiguration;
using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::protocol::TProtocol;
using apache::thrift::protocol::TProtocolDecorator;
using apache::thrift::protocol::TProtocolException;
using apache::thrift::protocol::TType;
using apache::thrift::transport::TBufferedTransport;
using apache::thrift::transport::TTransport;
using apache::thrift::transport::TTransportException;
using apache::thrift::transport::TVirtualTransport;

namespace {

// Least and largest piece asked of the socket at a time while reading ahead.
constexpr size_t kLeastReadAhead = 4096;
constexpr size_t kReadAheadChunk = 64 * 1024;
// A read-ahead buffer larger than this is given back once it has been read out.
constexpr size_t kKeptReadAheadCapacity = 256 * 1024;

// Sits between the socket and the buffered transport. Normally it passes reads straight through;
// asked to, it reads ahead from the socket and keeps the bytes until they are read, so that the
// protocol can find out whether a reply really holds what it announces before anything is
// allocated for it.
class ReadAheadTransport : public TVirtualTransport<ReadAheadTransport> {
public:
    ReadAheadTransport(std::shared_ptr<TTransport> socket, std::shared_ptr<TConfiguration> configuration)
        : TVirtualTransport(std::move(configuration))
        , m_socket(std::move(socket))
    {
    }

    bool isOpen() const override { return m_socket->isOpen(); }
    bool peek() override { return queued() > 0 || m_socket->peek(); }
    void open() override { m_socket->open(); }
    void close() override { m_socket->close(); }
    const std::string getOrigin() const override { return m_socket->getOrigin(); }

    uint32_t read(uint8_t* buffer, uint32_t length)
    {
        uint32_t given;
        if (queued() > 0) {
            given = static_cast<uint32_t>(std::min<size_t>(length, queued()));
            std::memcpy(buffer, m_queue.data() + m_head, given);
            m_head += given;
            if (m_head == m_queue.size()) {
                m_queue.clear();
                m_head = 0;
                if (m_queue.capacity() > kKeptReadAheadCapacity)
                    std::vector<uint8_t>().swap(m_queue);
            }
        } else {
            given = m_socket->read(buffer, length);
        }
        m_delivered += given;
        return given;
    }

    void write(const uint8_t* buffer, uint32_t length) { m_socket->write(buffer, length); }
    void flush() override { m_socket->flush(); }

    // Reads from the socket until `count` bytes wait unread here; the buffer grows only with what
    // arrives. Throws end-of-file when the peer closes first.
    void fill(size_t count)
    {
        if (queued() >= count)
            return;
        if (m_head > 0) {
            m_queue.erase(m_queue.begin(), m_queue.begin() + static_cast<std::ptrdiff_t>(m_head));
            m_head = 0;
        }
        while (m_queue.size() < count) {
            const size_t have = m_queue.size();
            // Asking for more than needed costs nothing: the socket hands over what has arrived.
            const size_t want = std::min(std::max(count - have, kLeastReadAhead), kReadAheadChunk);
            m_queue.resize(have + want);
            const uint32_t got = m_socket->read(m_queue.data() + have, static_cast<uint32_t>(want));
            m_queue.resize(have + got);
            if (got == 0)
                throw TTransportException(TTransportException::END_OF_FILE,
                                          "The reply ended before the size it announced");
        }
    }

    size_t queued() const { return m_queue.size() - m_head; }
    // Bytes handed up since the connection was made.
    uint64_t delivered() const { return m_delivered; }

private:
    std::shared_ptr<TTransport> m_socket;
    std::vector<uint8_t> m_queue;
    size_t m_head = 0;
    uint64_t m_delivered = 0;
};

// The buffered transport of the library, telling how much it holds unread.
class ReplyBufferedTransport : public TBufferedTransport {
public:
    ReplyBufferedTransport(std::shared_ptr<TTransport> transport, std::shared_ptr<TConfiguration> configuration)
        : TBufferedTransport(std::move(transport), std::move(configuration))
    {
    }

    // Bytes already buffered and not yet read.
    size_t buffered() const { return static_cast<size_t>(rBound_ - rBase_); }

    // Reads size bytes into str straight from the buffer when they are all there.
    bool takeBuffered(std::string& str, size_t size)
    {
        if (buffered() < size)
            return false;
        str.assign(reinterpret_cast<const char*>(rBase_), size);
        rBase_ += size;
        return true;
    }
};

// Least number of bytes one value of a type takes in the binary protocol.
size_t minimumWireBytes(TType type)
{
    switch (type) {
    case apache::thrift::protocol::T_BOOL:
    case apache::thrift::protocol::T_BYTE:
    case apache::thrift::protocol::T_STRUCT: // its stop byte
        return 1;
    case apache::thrift::protocol::T_I16:
        return 2;
    case apache::thrift::protocol::T_I32:
    case apache::thrift::protocol::T_STRING:
        return 4;
    case apache::thrift::protocol::T_I64:
    case apache::thrift::protocol::T_DOUBLE:
        return 8;
    case apache::thrift::protocol::T_LIST:
    case apache::thrift::protocol::T_SET:
        return 5; // element type and count
    case apache::thrift::protocol::T_MAP:
        return 6; // key type, value type and count
    default:
        throw TProtocolException(TProtocolException::INVALID_DATA, "Unknown type in a container");
    }
}

// The binary protocol with every announced size checked against the bytes that have arrived.
class BoundedProtocol : public TProtocolDecorator {
public:
    BoundedProtocol(std::shared_ptr<TProtocol> binary, std::shared_ptr<ReplyBufferedTransport> buffered,
                    std::shared_ptr<ReadAheadTransport> readAhead, const ReplyLimits& limits)
        : TProtocolDecorator(std::move(binary))
        , m_buffered(std::move(buffered))
        , m_readAhead(std::move(readAhead))
        , m_limits(limits)
    {
    }

    // The header is read here rather than by the inner protocol so that the method name, the
    // first string of every message, passes the same checks as every other string.
    uint32_t readMessageBegin_virt(std::string& name, apache::thrift::protocol::TMessageType& type,
                                   int32_t& seqid) override
    {
        m_messageStart = position();
        int32_t word = 0;
        uint32_t read = readI32_virt(word);
        if (word < 0) {
            if ((static_cast<uint32_t>(word) & kVersionMask) != kVersion1)
                throw TProtocolException(TProtocolException::BAD_VERSION, "Bad version identifier");
            type = static_cast<apache::thrift::protocol::TMessageType>(word & 0x000000ff);
            read += readString_virt(name);
        } else {
            // An old-style header without the version word: the word is the name's length.
            read += readStringBody(name, word);
            int8_t typeByte = 0;
            read += readByte_virt(typeByte);
            type = static_cast<apache::thrift::protocol::TMessageType>(typeByte);
        }
        read += readI32_virt(seqid);
        return read;
    }

    uint32_t readListBegin_virt(TType& elemType, uint32_t& size) override
    {
        const uint32_t read = TProtocolDecorator::readListBegin_virt(elemType, size);
        if (size > 0)
            require(size, minimumWireBytes(elemType));
        return read;
    }

    uint32_t readSetBegin_virt(TType& elemType, uint32_t& size) override
    {
        const uint32_t read = TProtocolDecorator::readSetBegin_virt(elemType, size);
        if (size > 0)
            require(size, minimumWireBytes(elemType));
        return read;
    }

    uint32_t readMapBegin_virt(TType& keyType, TType& valType, uint32_t& size) override
    {
        const uint32_t read = TProtocolDecorator::readMapBegin_virt(keyType, valType, size);
        if (size > 0)
            require(size, minimumWireBytes(keyType) + minimumWireBytes(valType));
        return read;
    }

    uint32_t readString_virt(std::string& str) override
    {
        int32_t size = 0;
        const uint32_t read = readI32_virt(size);
        return read + readStringBody(str, size);
    }

    uint32_t readBinary_virt(std::string& str) override { return readString_virt(str); }

    // Skipping goes through the checks above too.
    uint32_t skip_virt(TType type) override { return apache::thrift::protocol::skip(*this, type); }

private:
    static constexpr uint32_t kVersionMask = 0xffff0000;
    static constexpr uint32_t kVersion1 = 0x80010000;

    uint32_t readStringBody(std::string& str, int32_t size)
    {
        if (size < 0)
            throw TProtocolException(TProtocolException::NEGATIVE_SIZE);
        if (size > m_limits.stringBytes)
            throw TProtocolException(TProtocolException::SIZE_LIMIT);
        require(static_cast<size_t>(size), 1);
        if (!m_buffered->takeBuffered(str, static_cast<size_t>(size))) {
            str.resize(static_cast<size_t>(size));
            m_buffered->readAll(reinterpret_cast<uint8_t*>(&str[0]), static_cast<uint32_t>(size));
        }
        return static_cast<uint32_t>(size);
    }

    // Bytes of the connection read by the protocol so far.
    uint64_t position() const { return m_readAhead->delivered() - m_buffered->buffered(); }

    // Waits until count values of at least unitBytes each have arrived, or fails.
    void require(size_t count, size_t unitBytes)
    {
        const uint64_t needed = static_cast<uint64_t>(count) * unitBytes;
        if (position() + needed - m_messageStart > static_cast<uint64_t>(m_limits.messageBytes))
            throw TProtocolException(TProtocolException::SIZE_LIMIT, "Reply larger than the largest allowed");
        const size_t buffered = m_buffered->buffered();
        if (needed > buffered)
            m_readAhead->fill(static_cast<size_t>(needed) - buffered);
    }

    std::shared_ptr<ReplyBufferedTransport> m_buffered;
    std::shared_ptr<ReadAheadTransport> m_readAhead;
    ReplyLimits m_limits;
    uint64_t m_messageStart = 0;
};

} // namespace

std::shared_ptr<TConfiguration> replyConfiguration(const ReplyLimits& limits)
{
    return std::make_shared<TConfiguration>(limits.messageBytes, limits.messageBytes, limits.nestingDepth);
}

std::shared_ptr<TProtocol> makeBoundedProtocol(std::shared_ptr<TTransport> socket, const ReplyLimits& limits)
{
    const auto configuration = replyConfiguration(limits);
    socket->setConfiguration(configuration);
    auto readAhead = std::make_shared<ReadAheadTransport>(std::move(socket), configuration);
    auto buffered = std::make_shared<ReplyBufferedTransport>(readAhead, configuration);
    auto binary =
        std::make_shared<TBinaryProtocol>(buffered, limits.stringBytes, limits.containerElements, false, true);
    return std::make_shared<BoundedProtocol>(std::move(binary), std::move(buffered), std::move(readAhead), limits);
}

} // namespace CorvelService
