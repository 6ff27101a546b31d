// The service records on the wire: field layout, round trips, values outside the enumeration
// tables, the action flags and the printed form.

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

std::shared_ptr<TBinaryProtocol> reader(const std::string& bytes)
{
    return std::make_shared<TBinaryProtocol>(std::make_shared<TMemoryBuffer>(
        reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.data())), uint32_t(bytes.size()), TMemoryBuffer::COPY));
}

// "id:type" of each top-level field as it appears on the wire.
QString fieldLayout(const std::string& bytes)
{
    const auto protocol = reader(bytes);
    std::string name;
    TType type;
    int16_t id;
    QStringList fields;
    protocol->readStructBegin(name);
    for (protocol->readFieldBegin(name, type, id); type != T_STOP; protocol->readFieldBegin(name, type, id)) {
        fields << QString("%1:%2").arg(id).arg(int(type));
        protocol->skip(type);
    }
    return fields.join(' ');
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
void checkRoundTrip(const Record& original, const QString& expectedLayout)
{
    uint32_t written = 0;
    const std::string bytes = toWire(original, &written);
    QCOMPARE(size_t(written), bytes.size());
    QCOMPARE(fieldLayout(bytes), expectedLayout);
    Record copy;
    QCOMPARE(copy.read(reader(bytes).get()), written);
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
    void actionFlags_data();
    void actionFlags();
    void printedForm();
};

void TestServiceTypes::roundTrip_data()
{
    QTest::addColumn<Check>("check");

    const QString job = "1:11 2:11 3:12 4:8 5:8 6:8 7:12 8:8 9:11";
    const QString configuration = "1:11 2:11 3:10 4:11 5:11 6:11 7:11 8:11 9:11 10:2 11:11 12:8 13:2 14:15 15:12";
    const QString vm = "1:8 2:11 3:10 4:8 5:2 6:15 7:11 8:8 9:8 10:8 11:8";
    VirtualNetwork network;
    network.__set_id("c08cb7b8");
    network.__set_name("Default Switch");
    JobMutableSettings settings;
    settings.__set_delete_created_vm(true);

    QTest::newRow("JobDescription") << Check([=] { checkRoundTrip(sampleJob(), job); });
    QTest::newRow("JobDescription default") << Check([=] { checkRoundTrip(JobDescription(), job); });
    QTest::newRow("JobDescription outside tables") << Check([=] { checkRoundTrip(jobOutsideTables(), job); });
    QTest::newRow("JobConfiguration") << Check([=] { checkRoundTrip(sampleJob().configuration, configuration); });
    QTest::newRow("JobConfiguration default") << Check([=] { checkRoundTrip(JobConfiguration(), configuration); });
    QTest::newRow("VMSettings") << Check([=] { checkRoundTrip(sampleJob().configuration.vm_settings, vm); });
    QTest::newRow("CurrentWork") << Check([] { checkRoundTrip(sampleJob().current_work, "1:11 2:11 3:3"); });
    QTest::newRow("DiskInfo") << Check([] { checkRoundTrip(sampleDisk(), "1:11 2:2 3:15 4:8"); });
    QTest::newRow("DiskVolumeInfo") << Check([] { checkRoundTrip(sampleDisk().volumes.at(1), "1:10"); });
    QTest::newRow("VirtualNetwork") << Check([=] { checkRoundTrip(network, "1:11 2:11"); });
    QTest::newRow("JobMutableSettings") << Check([=] { checkRoundTrip(settings, "1:2"); });
}

void TestServiceTypes::roundTrip()
{
    QFETCH(Check, check);
    check();
}

void TestServiceTypes::actionFlags_data()
{
    QTest::addColumn<int>("actions");
    QTest::addColumn<QList<bool>>("allowed"); // start, stop, delete, cancel

    QTest::newRow("0 allows nothing") << 0 << QList<bool>{false, false, false, false};
    QTest::newRow("15 allows all four") << 15 << QList<bool>{true, true, true, true};
    QTest::newRow("5 start and delete") << 5 << QList<bool>{true, false, true, false};
}

void TestServiceTypes::actionFlags()
{
    QFETCH(int, actions);
    QFETCH(QList<bool>, allowed);
    const QList<bool> got{bool(actions & JobAction::Start), bool(actions & JobAction::Stop),
                          bool(actions & JobAction::Delete), bool(actions & JobAction::Cancel)};
    QCOMPARE(got, allowed);
}

void TestServiceTypes::printedForm()
{
    QCOMPARE(printed(sampleDisk()),
             std::string("DiskInfo(name=Disk 0, is_system=1, volumes=[DiskVolumeInfo(size=1024), "
                         "DiskVolumeInfo(size=-1)], style=GPT)"));
    DiskInfo oddDisk;
    oddDisk.__set_style(DiskStyle::type(3));
    QCOMPARE(printed(oddDisk), std::string("DiskInfo(name=, is_system=0, volumes=[], style=3)"));
    const std::string odd = printed(jobOutsideTables());
    for (const char* part : {"job_type=-1", "status=42", "actions=15", "target_runtime_status=5",
                             "virtual_disk_type=1000", "virtualization_type=2"})
        QVERIFY2(odd.find(part) != std::string::npos, part);
}

QTEST_GUILESS_MAIN(TestServiceTypes)
#include "tst_service_types.moc"
