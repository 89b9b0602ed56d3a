// Every parameterized instance IID the ABI facts list, computed from the
// declared types' signatures.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "ApplicationModel.h"
#include "Collections.h"
#include "Deployment.h"
#include "Foundation.h"
#include "Launcher.h"
#include "Notifications.h"
#include "Storage.h"
#include "WebHttp.h"
#include "XmlDom.h"

namespace {

struct listed_instance {
    const char* name;
    GUID computed;
    const char* listed;
};

}  // namespace

TEST(RuntimePiid, InstancesTheModuleDeclares) {
    // HttpProgress holds parameterized instances inside the instance it parameterizes.
    static_assert(sizeof(rt::HttpProgress) == 48 && offsetof(rt::HttpProgress, BytesReceived) == 24 &&
                  offsetof(rt::HttpProgress, Retries) == 40);
    using StringObjectPair = rt::IKeyValuePair<HSTRING, IInspectable>;
    const listed_instance instances[] = {
        {"IAsyncOperation<Boolean>", rt::IAsyncOperation<bool>::iid, "cdb5efb3-5788-509d-9be1-71ccb8a3362a"},
        {"AsyncOperationCompletedHandler<Boolean>", rt::AsyncOperationCompletedHandler<bool>::iid,
         "c1d3d1a2-ae17-5a5f-b5a2-bdcc8844889a"},
        {"TypedEventHandler<ToastNotification, Object>", rt::ToastActivatedHandler::iid,
         "ab54de2d-97d9-5528-b6ad-105afe156530"},
        {"TypedEventHandler<ToastNotification, ToastDismissedEventArgs>", rt::ToastDismissedHandler::iid,
         "61c2402f-0ed0-5a18-ab69-59f4aa99a368"},
        {"TypedEventHandler<ToastNotification, ToastFailedEventArgs>", rt::ToastFailedHandler::iid,
         "95e3e803-c969-5e3a-9753-ea2ad22a9a33"},
        {"IReference<DateTime>", rt::IReference<rt::DateTime>::iid, "5541d8a7-497c-5aa4-86fc-7713adbf2a2c"},
        {"IMap<String, Object>", rt::IMap<HSTRING, IInspectable>::iid, "1b0d3570-0877-5ec2-8a2c-3b9539506aca"},
        {"IMapView<String, Object>", rt::IMapView<HSTRING, IInspectable>::iid, "bb78502a-f79d-54fa-92c9-90c5039fdf7e"},
        {"IIterable<IKeyValuePair<String, Object>>", rt::IIterable<StringObjectPair>::iid,
         "fe2f3d47-5d47-5499-8374-430c7cda0204"},
        {"IKeyValuePair<String, Object>", StringObjectPair::iid, "09335560-6c6b-5a26-9348-97b781132b20"},
        {"IIterable<String>", rt::IIterable<HSTRING>::iid, "e2fcc7c1-3bfc-5a0b-b2b0-72e769d1cb7e"},
        {"IVectorView<String>", rt::IVectorView<HSTRING>::iid, "2f13c006-a03a-5f69-b090-75a43e33423e"},
        {"IIterator<String>", rt::IIterator<HSTRING>::iid, "8c304ebb-6615-50a4-8829-879ecd443236"},
        {"IIterator<IKeyValuePair<String, Object>>", rt::IIterator<StringObjectPair>::iid,
         "5db5fa32-707c-5849-a06b-91c8eb9d10e8"},
        {"IObservableMap<String, Object>", rt::IObservableMap<HSTRING, IInspectable>::iid,
         "236aac9d-fb12-5c4d-a41c-9e445fb4d7ec"},
        {"IVectorView<IXmlNode>", rt::IVectorView<rt::IXmlNode>::iid, "139d959e-e7b5-5cb6-a596-4b544478da9b"},
        {"IIterable<IXmlNode>", rt::IIterable<rt::IXmlNode>::iid, "f1146ffc-8c92-56e8-93f1-711f86722633"},
        {"IIterator<IXmlNode>", rt::IIterator<rt::IXmlNode>::iid, "3833a35e-2c61-56bd-b093-3694165f8898"},
        {"IReference<Boolean>", rt::IReference<bool>::iid, "3c00fd60-2950-5939-a21a-2d12c5a01b8a"},
        {"IIterable<Package>", rt::IIterable<rt::Package>::iid, "69ad6aa7-0c49-5f27-a5eb-ef4d59467b6d"},
        {"IIterator<Package>", rt::IIterator<rt::Package>::iid, "0217f069-025c-5ee6-a87f-e782e3b623ae"},
        {"IAsyncOperationWithProgress<DeploymentResult, DeploymentProgress>", rt::DeploymentOperation::iid,
         "5a97aab7-b6ea-55ac-a5dc-d5b164d94e94"},
        {"AsyncOperationWithProgressCompletedHandler<DeploymentResult, DeploymentProgress>",
         rt::DeploymentOperation::completed_handler::iid, "6e1c7129-61e0-5d88-9fd4-f3ce65a05719"},
        {"AsyncOperationProgressHandler<DeploymentResult, DeploymentProgress>",
         rt::DeploymentOperation::progress_handler::iid, "f1b926d1-1796-597a-9bea-6c6449d03eef"},
        {"IReference<UInt64>", rt::IReference<std::uint64_t>::iid, "6755e376-53bb-568b-a11d-17239868309e"},
        {"IAsyncOperation<LaunchQuerySupportStatus>", rt::LaunchQuerySupportOperation::iid,
         "e7539992-2220-5d2d-82c4-3d44f8750d91"},
        {"AsyncOperationCompletedHandler<LaunchQuerySupportStatus>",
         rt::LaunchQuerySupportOperation::completed_handler::iid, "198cac52-abcd-5529-933f-071cc93fd635"},
        {"IAsyncOperation<StorageFolder>", rt::IAsyncOperation<rt::StorageFolder>::iid,
         "6be9e7d7-e83a-5cbc-802c-1768960b52c3"},
        {"AsyncOperationCompletedHandler<StorageFolder>", rt::AsyncOperationCompletedHandler<rt::StorageFolder>::iid,
         "c211026e-9e63-5452-ba54-3a07d6a96874"},
        {"IAsyncOperation<StorageFile>", rt::IAsyncOperation<rt::StorageFile>::iid, "5e52f8ce-aced-5a42-95b4-f674dd84885e"},
        {"AsyncOperationCompletedHandler<StorageFile>", rt::AsyncOperationCompletedHandler<rt::StorageFile>::iid,
         "e521c894-2c26-5946-9e61-2b5e188d01ed"},
        {"IAsyncOperation<IBuffer>", rt::IAsyncOperation<rt::IBuffer>::iid, "3bee8834-b9a7-5a80-a746-5ef097227878"},
        {"AsyncOperationCompletedHandler<IBuffer>", rt::AsyncOperationCompletedHandler<rt::IBuffer>::iid,
         "51c3d2fd-b8a1-5620-b746-7ee6d533aca3"},
        {"IAsyncOperationWithProgress<HttpResponseMessage, HttpProgress>", rt::HttpResponseOperation::iid,
         "5d144364-77d7-5eca-8b09-936a69446652"},
        {"AsyncOperationWithProgressCompletedHandler<HttpResponseMessage, HttpProgress>",
         rt::HttpResponseOperation::completed_handler::iid, "beadb572-f9a3-5e93-b6ca-e311b65933fc"},
        {"AsyncOperationProgressHandler<HttpResponseMessage, HttpProgress>",
         rt::HttpResponseOperation::progress_handler::iid, "68e4606a-76ec-5816-b2fe-a04ecde4126a"},
        {"IAsyncOperationWithProgress<String, UInt64>", rt::HttpStringOperation::iid,
         "c8bbcb29-6b64-5ce2-a831-038f6e02199e"},
        {"AsyncOperationWithProgressCompletedHandler<String, UInt64>", rt::HttpStringOperation::completed_handler::iid,
         "bd75eebe-e7b5-5af6-8415-a4b9c9045202"},
        {"AsyncOperationProgressHandler<String, UInt64>", rt::HttpStringOperation::progress_handler::iid,
         "14da7de7-40df-5d4c-823f-cf310625ad39"},
    };
    for (const auto& instance : instances) {
        EXPECT_EQ(instance.listed, std::string(rt::guid_text(instance.computed).view())) << instance.name;
    }
}
