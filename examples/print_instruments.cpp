#include <iostream>

#include <qx_notify_listener.h>

class Printer : public ps_ns::QXNotifyObserver {
    void OnInstrumentDownloadRecord(qx::messaging::pds::enums::PdsNotifyEventType event,
                                    qx::messaging::pds::InstrumentDownloadRecord& record) override
    {
        std::cout << PdsNotifyEventType_Name(event) << ' ' << record.symbol() << std::endl;
    }
};

int main()
{
    Printer printer; // outlives the listener
    ps_ns::QXNotifyListener listener(&printer);
    listener.SubscribeForMarket(42);
    std::cin.get(); // records arrive on the listener's own thread
}
