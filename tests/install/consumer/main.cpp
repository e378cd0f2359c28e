// Calls the sample of README.md, and what links only when the platform is linked, too.
#include <Pixtola.h>

#include <memory>
#include <string>

bool SavePageAsFax(const wchar_t* page_path, const wchar_t* fax_path);

int main(int argument_count, char** arguments) {
  if (argument_count != 3) return 2;
  const std::string page(arguments[1]);
  const std::string fax(arguments[2]);
  ULONG_PTR token = 0;
  const Gdiplus::GdiplusStartupInput input;
  Gdiplus::GdiplusStartup(&token, &input, nullptr);
  bool is_done = SavePageAsFax(std::wstring(page.begin(), page.end()).c_str(),
                               std::wstring(fax.begin(), fax.end()).c_str());
  {
    Gdiplus::Bitmap* loaded = nullptr;
    is_done = PxtLoadBitmapFromResource(L"page", L"Image", nullptr, &loaded) != 0 && is_done;
    const std::unique_ptr<Gdiplus::Bitmap> embedded(loaded);
    is_done = is_done && embedded->GetWidth() != 0;
  }
  Gdiplus::GdiplusShutdown(token);
  return is_done ? 0 : 1;
}
