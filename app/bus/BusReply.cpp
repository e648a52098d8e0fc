#include "app/bus/BusReply.h"

#include "app/bus/BusProperties.h"

namespace velmoran::bus {

BusMessage replyTo(sd_bus_message* call) {
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(call, &reply);
    return BusMessage(reply);
}

BusMessage replyTo(sd_bus_message* call, const char* outcome, const std::string& headline,
                   const std::string& detail) {
    auto reply = replyTo(call);
    sd_bus_message_append(reply.get(), "sss", outcome, busText(headline).c_str(),
                          busText(detail).c_str());
    return reply;
}

BusMessage refusalOf(sd_bus_message* call, const char* error, const std::string& why) {
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_errorf(call, &reply, error, "%s", busText(why).c_str());
    return BusMessage(reply);
}

} // namespace velmoran::bus
