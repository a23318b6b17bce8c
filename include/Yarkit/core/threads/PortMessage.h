#pragma once

#include <Yarkit/core/Forward.h>
#include <Yarkit/core/runtime/Object.h>

#include <cstdint>

namespace yk {

class Port;

// A message between ports: its send and receive ports (retained), components and an id. A
// Port carries only the wake-up: the receiving delegate gets a message with the receiving port
// and no components.
class PortMessage final : public Object {
    YK_OBJECT(PortMessage, Object)
public:
    // initWithSendPort:receivePort:components:
    PortMessage(Port* sendPort, Port* receivePort, Array* components);
    ~PortMessage() override;

    Port* sendPort() const { return _sendPort.get(); }
    Port* receivePort() const { return _receivePort.get(); }
    Array* components() const { return _components.get(); }
    uint32_t msgid() const { return _msgid; }
    void setMsgid(uint32_t msgid) { _msgid = msgid; }

    // Sends on the send port without blocking; false when that failed.
    [[nodiscard]] bool sendBeforeDate(const Date* limitDate);

private:
    const Ref<Port> _sendPort;
    const Ref<Port> _receivePort;
    const Ref<Array> _components;
    uint32_t _msgid { 0 };
};

} // namespace yk
