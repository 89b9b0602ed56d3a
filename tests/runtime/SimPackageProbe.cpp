// A second process for the tests of the package table kept in a file: removes
// the registration with the full name given and prints the operation's
// result, "hr=0x00000000".
#include <windows.h>

#include <cstdio>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "Deployment.h"
#include "HString.h"
#include "RuntimeError.h"

int wmain(int argc, wchar_t** argv) {
    if (argc != 2) return 2;
    const HRESULT result = rt::hresult_from([&] {
        const auto manager = rt::activate_instance<rt::IPackageManager>(rt::class_name::PackageManager);
        rt::com_ptr<rt::DeploymentOperation> operation;
        rt::check(manager->RemovePackageAsync(rt::hstring(argv[1]).get(), operation.put()));
        rt::wait_for_result(operation.get());
    });
    std::printf("hr=0x%08lX\n", static_cast<unsigned long>(result));
    return 0;
}
