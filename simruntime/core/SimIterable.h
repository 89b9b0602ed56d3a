#pragma once
// IIterable<T> over a list fixed when it is made, and its iterators: what
// finders of the platform return. Each iterator walks its own position.
#include <windows.h>

#include <memory>
#include <utility>
#include <vector>

#include "AbiValue.h"
#include "Collections.h"
#include "SimMethods.h"
#include "SimObject.h"

namespace sim {

template <class T>
using item_list = std::vector<rt::owned_t<T>>;

template <class T>
class iterator final : public object<iterator<T>, rt::IIterator<T>> {
public:
    static constexpr const wchar_t* runtime_class_name = L"SimRuntime.Iterator";

    explicit iterator(std::shared_ptr<const item_list<T>> items) : items_(std::move(items)) {}

    HRESULT STDMETHODCALLTYPE get_Current(rt::abi_t<T>* current) override {
        if (!current) return E_POINTER;
        if (position_ >= items_->size()) return out_of_bounds;
        *current = rt::abi_value<T>::copy((*items_)[position_]);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_HasCurrent(boolean* hasCurrent) override {
        if (!hasCurrent) return E_POINTER;
        *hasCurrent = position_ < items_->size();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE MoveNext(boolean* hasCurrent) override {
        if (!hasCurrent) return E_POINTER;
        if (position_ < items_->size()) ++position_;
        *hasCurrent = position_ < items_->size();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetMany(UINT32 capacity, rt::abi_t<T>* items, UINT32* actual) override {
        if (!actual || (capacity > 0 && !items)) return E_POINTER;
        UINT32 copied = 0;
        for (; copied < capacity && position_ < items_->size(); ++copied, ++position_) {
            items[copied] = rt::abi_value<T>::copy((*items_)[position_]);
        }
        *actual = copied;
        return S_OK;
    }

private:
    const std::shared_ptr<const item_list<T>> items_;
    std::size_t position_ = 0;
};

template <class T>
class iterable final : public object<iterable<T>, rt::IIterable<T>> {
public:
    static constexpr const wchar_t* runtime_class_name = L"SimRuntime.Iterable";

    explicit iterable(item_list<T> items) : items_(std::make_shared<const item_list<T>>(std::move(items))) {}

    HRESULT STDMETHODCALLTYPE First(rt::IIterator<T>** first) override {
        if (!first) return E_POINTER;
        *first = make<iterator<T>>(items_).detach();
        return S_OK;
    }

private:
    const std::shared_ptr<const item_list<T>> items_;
};

}  // namespace sim
