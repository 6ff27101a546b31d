// The service records on the wire: round trips, values outside the enumeration tables, the
// action flags and the printed form.

#include "service/service_types_meta.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <QtTest>

#include <functional>
#include <sstream>

using namespace CorvelService;
using namespace apache::thrift::protocol;
using apache::thrift::transport::TMemoryBuffer;

using Check = std::function<void()>;
Q_DECLARE_METATYPE(Check)

namespace {

template <typename Record>
std::string printed(const Record& record)
{
    std::ostringstream out;
    record.printTo(out);
    return out.str();
}

template <typename Record>
std::string toWire(const Record& record, uint32_t* count = nullptr)
{
    auto buffer = std::make_shared<TMemoryBuffer>();
    TBinaryProtocol protocol(buffer);
    const uint32_t written = record.write(&protocol);
    if (count)
        *count = written;
    return buffer->getBufferAsString();
}

// Every field away from its default, nested records and lists included.
JobDescription sampleJob()
{
    JobDescription job;
    job.__set_id("8c1d0f3e-1");
    job.__set_description("Nightly test");
    JobConfiguration& c = job.configuration;
    c.__set_client_name("Harrowgate Dental");
    c.__set_device_name("FS-01");
    c.__set_device_id(9007199254740993LL);
    c.__set_recovery_point("2024_05_30_02_00_00");
    c.__set_device_host("backup-1.cloud.invalid");
    c.__set_device_token("t\xc3\xb6ken");
    c.__set_local_cache_path("\\\\nas\\cache");
    c.__set_local_cache_login("reader");
    c.__set_local_cache_password("pw");
    c.__set_local_cache_read_only(true);
    c.__set_mount_point("E:\\");
    c.__set_virtual_disk_type(VirtualDiskType::VhdAzure);
    c.__set_use_dynamic_virtual_disk(true);
    c.__set_disks_names({"Disk 0", "Disk 1"});
    VMSettings& vm = c.vm_settings;
    vm.__set_generation(2);
    vm.__set_name("FS-01-recovered");
    vm.__set_ram_bytes(8LL << 30);
    vm.__set_cpu_cores(4);
    vm.__set_boot_on_start(true);
    vm.__set_network_adapters({"net-a", "net-b"});
    vm.__set_storage_location("D:\\VMs");
    vm.__set_virtualization_type(VirtualizationType::Production);
    vm.__set_reserve(10);
    vm.__set_limit(90);
    vm.__set_relative_weight(200);
    job.__set_job_type(JobType::VirtualExport);
    job.__set_status(JobStatus::Running);
    job.__set_actions(JobAction::Stop | JobAction::Cancel);
    job.current_work.__set_text("Exporting disks");
    job.current_work.__set_technical_details("Disk 1 of 2");
    job.current_work.__set_progress(-128);
    job.__set_target_runtime_status(TargetRuntimeStatus::ForceShutdown);
    job.__set_substatus("ok");
    return job;
}

DiskInfo sampleDisk()
{
    DiskInfo disk;
    disk.__set_name("Disk 0");
    disk.__set_is_system(true);
    DiskVolumeInfo small, large;
    small.__set_size(1024);
    large.__set_size(-1);
    disk.__set_volumes({small, large});
    disk.__set_style(DiskStyle::GPT);
    return disk;
}

// A value outside its enumeration's table wherever the record has one.
JobDescription jobOutsideTables()
{
    JobDescription job;
    job.__set_job_type(JobType::type(-1));
    job.__set_status(JobStatus::type(42));
    job.__set_actions(15);
    job.__set_target_runtime_status(TargetRuntimeStatus::type(5));
    job.configuration.__set_virtual_disk_type(VirtualDiskType::type(1000));
    job.configuration.vm_settings.__set_virtualization_type(VirtualizationType::type(2));
    return job;
}

// Same value, same byte count both ways, and the same bytes when written again.
template <typename Record>
void checkRoundTrip(const Record& original)
{
    uint32_t written = 0;
    std::string bytes = toWire(original, &written);
    QCOMPARE(size_t(written), bytes.size());
    Record copy;
    TBinaryProtocol in(std::make_shared<TMemoryBuffer>(reinterpret_cast<uint8_t*>(bytes.data()), written));
    QCOMPARE(copy.read(&in), written);
    QVERIFY(copy == original);
    QCOMPARE(printed(copy), printed(original));
    QCOMPARE(toWire(copy), bytes);
}

} // namespace

class TestServiceTypes : public QObject {
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void actionFlags();
    void printedForm();
};

void TestServiceTypes::roundTrip_data()
{
    QTest::addColumn<Check>("check");

    VirtualNetwork network;
    network.__set_id("c08cb7b8");
    network.__set_name("Default Switch");
    JobMutableSettings settings;
    settings.__set_delete_created_vm(true);

    // Nested records travel inside their parents.
    QTest::newRow("JobDescription") << Check([] { checkRoundTrip(sampleJob()); });
    QTest::newRow("JobDescription outside tables") << Check([] { checkRoundTrip(jobOutsideTables()); });
    QTest::newRow("DiskInfo") << Check([] { checkRoundTrip(sampleDisk()); });
    QTest::newRow("VirtualNetwork") << Check([=] { checkRoundTrip(network); });
    QTest::newRow("JobMutableSettings") << Check([=] { checkRoundTrip(settings); });
}

void TestServiceTypes::roundTrip()
{
    QFETCH(Check, check);
    check();
}

void TestServiceTypes::actionFlags()
{
    const int all = JobAction::Start | JobAction::Stop | JobAction::Delete | JobAction::Cancel;
    QCOMPARE(all, 15);
    QCOMPARE(JobAction::Start + JobAction::Stop + JobAction::Delete + JobAction::Cancel, 15); // four distinct bits
}

void TestServiceTypes::printedForm()
{
    QCOMPARE(printed(sampleDisk()),
             std::string("DiskInfo(name=Disk 0, is_system=1, volumes=[DiskVolumeInfo(size=1024), "
                         "DiskVolumeInfo(size=-1)], style=GPT)"));
    const std::string odd = printed(jobOutsideTables());
    for (const char* part : {"job_type=-1", "status=42", "actions=15", "target_runtime_status=5",
                             "virtual_disk_type=1000", "virtualization_type=2"})
        QVERIFY2(odd.find(part) != std::string::npos, part);
}

QTEST_GUILESS_MAIN(TestServiceTypes)
#include "tst_service_types.moc"
