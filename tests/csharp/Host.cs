// A host in C#: tells the frames that it is asked for, copies them into a new file, and what fails.
//   Host FILM NEW_FILE MISSING_FILE FRAME...
using System;
using System.Security.Cryptography;
using Qmio;

static class Host
{
    const int Delivered = 2;  // less is no new picture

    static void Expect(bool holds, string what)
    {
        if (!holds)
            throw QmioException.OfThisThread(what);
    }

    static MediaHandle Open(string name)
    {
        MediaHandle media = Native.qmio_open_u8(name, null);
        Expect(!media.IsInvalid, "cannot open " + name);
        return media;
    }

    static void Copy(MediaHandle media, string name, string[] frames)
    {
        int width = (int)Native.qmio_get_file_param(media, "width"), height = (int)Native.qmio_get_file_param(media, "height");
        int format = Native.qmio_fmtid("AV_PIX_FMT_YUV420P");
        byte[] picture = new byte[Native.qmio_get_bufsize(format, width, height)];
        Native.qmio_set_dst_fmt(media, format);
        string options = string.Format("fmt=avi,vcodec=rawvideo,pix=yuv420p,size={0}x{1},r=25", width, height);
        using (MediaHandle file = Native.qmio_create_u8(name, options, 0))
        using (MD5 md5 = MD5.Create())
        {
            Expect(!file.IsInvalid, "cannot make " + name);
            foreach (string frame in frames)
            {
                Expect(Native.qmio_seek_frame(media, int.Parse(frame)) >= 0, "no such frame");
                Expect(Native.qmio_read_frame(media, picture) >= Delivered, "no picture");
                Expect(Native.qmio_write_frame(file, picture) >= 0, "not written");
                Console.WriteLine("{0} {1}", frame, BitConverter.ToString(md5.ComputeHash(picture)).Replace("-", "").ToLower());
            }
            Expect(Native.qmio_finish(file) >= 0, "not completed");
        }
    }

    static int Main(string[] arguments)
    {
        string[] frames = new string[arguments.Length - 3];
        Array.Copy(arguments, 3, frames, 0, frames.Length);
        MediaHandle media = Open(arguments[0]);
        Copy(media, arguments[1], frames);
        media.Dispose();
        try { Native.qmio_seek_frame(media, 0); }
        catch (ObjectDisposedException) { Console.WriteLine("closed"); }
        try { Open(arguments[2]); }
        catch (QmioException failure) { Console.WriteLine("{0} {1}", failure.Code, failure.Message); }
        return 0;
    }
}
