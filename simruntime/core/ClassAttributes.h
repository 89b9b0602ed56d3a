#pragma once
// The threading attributes each simulated class carries, as its metadata
// prints them. MarshalingBehavior decides whether a pointer may be called from
// an apartment other than the one it was handed out in; Threading says where
// the platform loads the class, which the simulation keeps for the record
// only: a pointer handed to a thread is that thread's apartment's (a proxy when
// the class lives elsewhere), so both rules follow the apartment of the hand-out.
//
// Source: the declaration blocks of the "<name> Class" reference pages. Where a
// page prints two declarations ("— / Agile") it does not say which one the
// running system follows, and where it prints none, nothing says what the
// class does across apartments; both are treated as agile, so that a rule
// fires only where a page names the class Standard.
#include <array>
#include <string_view>

namespace sim {

enum class marshaling_behavior { agile, standard };
enum class threading_model { both, mta, unknown };

struct class_attributes {
    std::wstring_view class_name;
    marshaling_behavior marshaling;
    threading_model threading;
};

namespace attributes_detail {

using enum marshaling_behavior;
using enum threading_model;

inline constexpr std::array table{
    class_attributes{L"Windows.Foundation.Uri", agile, both},
    class_attributes{L"Windows.Foundation.PropertyValue", agile, both},
    class_attributes{L"Windows.Foundation.Collections.ValueSet", agile, both},
    class_attributes{L"Windows.Data.Xml.Dom.XmlDocument", agile, both},
    class_attributes{L"Windows.Data.Xml.Dom.XmlElement", agile, unknown},
    class_attributes{L"Windows.Data.Xml.Dom.XmlText", agile, unknown},
    class_attributes{L"Windows.Data.Xml.Dom.XmlAttribute", agile, unknown},
    class_attributes{L"Windows.Data.Xml.Dom.XmlNodeList", agile, unknown},
    class_attributes{L"Windows.Data.Xml.Dom.XmlNamedNodeMap", agile, unknown},
    // "— / Agile" on the pages of the notification classes below, except the two Standard ones.
    class_attributes{L"Windows.UI.Notifications.ToastNotificationManager", agile, mta},
    class_attributes{L"Windows.UI.Notifications.ToastNotifier", agile, unknown},
    class_attributes{L"Windows.UI.Notifications.ToastNotification", agile, mta},
    class_attributes{L"Windows.UI.Notifications.ToastActivatedEventArgs", standard, unknown},
    class_attributes{L"Windows.UI.Notifications.ToastDismissedEventArgs", agile, unknown},
    class_attributes{L"Windows.UI.Notifications.ToastFailedEventArgs", agile, unknown},
    // "MTA / —": the MTA of one declaration.
    class_attributes{L"Windows.UI.Notifications.ToastNotificationHistory", standard, mta},
    class_attributes{L"Windows.Management.Deployment.PackageManager", agile, both},
    class_attributes{L"Windows.Management.Deployment.AddPackageOptions", agile, unknown},
    class_attributes{L"Windows.Management.Deployment.DeploymentResult", agile, unknown},
    class_attributes{L"Windows.ApplicationModel.Package", agile, both},
    class_attributes{L"Windows.ApplicationModel.PackageId", agile, unknown},
    class_attributes{L"Windows.ApplicationModel.PackageStatus", agile, unknown},
    // "— / Both": the Both of one declaration.
    class_attributes{L"Windows.System.Launcher", standard, both},
    class_attributes{L"Windows.System.Threading.ThreadPoolTimer", agile, both},
    // No attribute printed on either page.
    class_attributes{L"Windows.Storage.StorageFolder", agile, unknown},
    class_attributes{L"Windows.Storage.StorageFile", agile, unknown},
    class_attributes{L"Windows.Storage.FileIO", agile, both},
    class_attributes{L"Windows.Storage.Streams.Buffer", agile, both},
    class_attributes{L"Windows.Web.Http.HttpClient", agile, both},
    class_attributes{L"Windows.Web.Http.HttpStringContent", agile, both},
    class_attributes{L"Windows.Web.Http.HttpStreamContent", agile, both},
    class_attributes{L"Windows.Web.Http.HttpResponseMessage", agile, both},
    class_attributes{L"Windows.Web.Http.Filters.HttpBaseProtocolFilter", agile, both},
    class_attributes{L"Windows.Web.Http.Filters.HttpCacheControl", agile, both},
};

}  // namespace attributes_detail

// The attributes of a class by its full name. What has no page of its own (the
// operations, iterators and boxed values the platform hands out) is agile, as
// "Threading and Marshaling (C++/CX)" says about nine Windows classes in ten.
constexpr class_attributes attributes_of(std::wstring_view className) {
    for (const class_attributes& entry : attributes_detail::table) {
        if (entry.class_name == className) return entry;
    }
    return {className, marshaling_behavior::agile, threading_model::unknown};
}

}  // namespace sim
